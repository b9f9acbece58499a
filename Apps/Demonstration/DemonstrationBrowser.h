#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <webkit/webkit.h>

#include "Apps/Demonstration/Judgement.h"
#include "Linux/GLib/GObjectPointer.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// A window with one real web view, which reaches everything through a proxy, accepts its
/// certificates and keeps nothing on disk or in a cache. No step takes longer than the limit; one
/// that would is an error. Needs `gtk_init` before.
class DemonstrationBrowser {
 public:
  DemonstrationBrowser(const std::string& proxyURL, std::chrono::milliseconds limit);
  DemonstrationBrowser(const DemonstrationBrowser&) = delete;
  DemonstrationBrowser& operator=(const DemonstrationBrowser&) = delete;
  ~DemonstrationBrowser();

  WebKitUserContentManager* contentManager() const { return contentManager_.get(); }

  /// Remembers a cookie of `host`, as if that had set it on an earlier visit.
  Expected<void> setCookie(const std::string& host, const std::string& name,
                           const std::string& value);

  /// Opens a page and waits until it and everything on it has been loaded.
  Expected<void> open(const std::string& url);

  /// `Shown`, `Hidden` or `Missing`, for the element with this id on the open page.
  Expected<Outcome> stateOf(const std::string& elementId);

  /// The whole open page.
  Expected<GObjectPointer<GdkTexture>> picture();

  /// Runs the main loop until the person closes the window or interrupts the program.
  void runUntilClosed();

 private:
  void connectSignals();

  std::chrono::milliseconds limit_;
  GObjectPointer<WebKitUserContentManager> contentManager_;
  GObjectPointer<WebKitNetworkSession> network_;
  GObjectPointer<WebKitWebContext> context_;
  WebKitWebView* view_;
  GtkWindow* window_;
  /// The error is empty for a load that went well; absent while the page loads.
  std::optional<std::string> loadResult_;
  bool closed_ = false;
};

}  // namespace orvane
