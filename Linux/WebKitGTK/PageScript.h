#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <webkit/webkit.h>

#include "Linux/GLib/GObjectPointer.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The script in every page that the views of one content manager show: it lets the user point at
/// what is to be hidden. It runs in a script world of its own, in which no script of a page can see
/// it or speak for it, and not in frames. Main thread.
class PageScript {
 public:
  /// What the script of a page says.
  struct Message {
    std::string page;  ///< the name that the page was given with the last `dispatch`, or empty
    std::string name;
    /// What the message is about. A number is kept when it is an integer that a double holds
    /// exactly; other numbers, and values that a property list does not know, are left out.
    std::optional<PropertyListValue::Dictionary> userInfo;
  };

  /// Called on the main loop; it must not destroy the `PageScript`.
  using Receiver = std::function<void(Message)>;

  /// Reads the scripts from `folder` and puts them into the pages that are loaded from now on. The
  /// content manager has one page script at a time. A script that cannot be read is an error.
  static Expected<std::unique_ptr<PageScript>> load(const std::filesystem::path& folder,
                                                    WebKitUserContentManager* contentManager,
                                                    Receiver receiver);
  PageScript(const PageScript&) = delete;
  PageScript& operator=(const PageScript&) = delete;
  /// No message arrives any more, and pages that are loaded from now on are without the script.
  ~PageScript();

  /// Sends the message `name` to the script of the page that `view` shows now, which is called
  /// `page` from then on. Does nothing in a page without the script. Both are UTF-8; a message with
  /// other text is not sent.
  void dispatch(WebKitWebView* view, std::string_view page, std::string_view name);

 private:
  PageScript(WebKitUserContentManager* contentManager, Receiver receiver);

  void add(const std::string& source);
  Expected<void> listen();

  GObjectPointer<WebKitUserContentManager> contentManager_;
  Receiver receiver_;
  std::vector<WebKitUserScript*> scripts_;
  gulong signal_ = 0;
};

}  // namespace orvane
