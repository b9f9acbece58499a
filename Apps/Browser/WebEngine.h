#pragma once

#include <webkit/webkit.h>

#include "Apps/Browser/BrowserOptions.h"
#include "Linux/GLib/GObjectPointer.h"
#include "Linux/Posix/XDGDirectories.h"

namespace orvane {

/// What all views of the browser share: the network with its cookies and caches, the user scripts
/// and the list in force, and the settings of pages. Main thread.
class WebEngine {
 public:
  WebEngine(const BrowserOptions& options, const XDGDirectories& directories);

  WebKitUserContentManager* contentManager() const { return contentManager_.get(); }
  WebKitNetworkSession* network() const { return network_.get(); }

  /// A new view. The page of `opener`, if that is not null, and the view's know of each other.
  GObjectPointer<WebKitWebView> makeView(WebKitWebView* opener) const;

 private:
  GObjectPointer<WebKitUserContentManager> contentManager_;
  GObjectPointer<WebKitNetworkSession> network_;
  GObjectPointer<WebKitWebContext> context_;
  GObjectPointer<WebKitSettings> settings_;
};

}  // namespace orvane
