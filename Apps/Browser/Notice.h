#pragma once

#include <string>

#include <webkit/webkit.h>

namespace orvane {

/// What a tab says in the place of a page.
struct Notice {
  std::string icon;
  std::string title;
  std::string explanation;
  /// The label of the button that loads the page again; empty when there is nothing to load.
  std::string button;
};

/// For a tab in which nothing has been loaded yet.
Notice emptyTabNotice();

/// For a page that did not load. `url` may be of any form.
Notice failedLoadNotice(const std::string& url, const GError& error);

/// For a page whose server proves its identity badly.
Notice badCertificateNotice(const std::string& url, GTlsCertificateFlags errors);

Notice endedWebProcessNotice(WebKitWebProcessTerminationReason reason);

/// Whether a load that ended with this error ended because somebody wanted it to, so that there is
/// nothing to say.
bool isIntended(const GError& error);

}  // namespace orvane
