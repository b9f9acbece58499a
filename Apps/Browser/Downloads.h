#pragma once

#include <functional>
#include <string>
#include <vector>

#include <webkit/webkit.h>

#include "Linux/GLib/GObjectPointer.h"

namespace orvane {

/// Saves what pages have downloaded in the user's folder for that, never over a file that is there,
/// and says so: a page can start a download by itself. Main thread.
class Downloads {
 public:
  /// `network` outlives this. `say` is called with a sentence for the user when a file is saved and
  /// when one cannot be.
  Downloads(WebKitNetworkSession* network, std::function<void(const std::string&)> say);
  Downloads(const Downloads&) = delete;
  Downloads& operator=(const Downloads&) = delete;
  /// Cancels what is not saved yet.
  ~Downloads();

 private:
  void begin(WebKitDownload* download);
  bool decideDestination(WebKitDownload* download, const char* suggestedName);
  void fail(WebKitDownload* download, const GError& error);
  void finish(WebKitDownload* download);
  void end(WebKitDownload* download);

  WebKitNetworkSession* network_;
  std::function<void(const std::string&)> say_;
  std::vector<GObjectPointer<WebKitDownload>> running_;
};

}  // namespace orvane
