#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "Platform/Foundation/NSURL.h"

namespace orvane {

class SFSafariPageProperties {
 public:
  explicit SFSafariPageProperties(std::optional<NSURL> url) : url_(std::move(url)) {}

  /// Absent for a page that was never loaded from anywhere.
  const std::optional<NSURL>& nullableURL() const { return url_; }

 private:
  std::optional<NSURL> url_;
};

/// What a tab shows. Whoever holds it keeps neither the tab nor its content: once those are gone
/// the page has no properties, and messages to it are lost. Main queue.
class SFSafariPage {
 public:
  using PropertiesCompletion = std::function<void(std::optional<SFSafariPageProperties>)>;

  SFSafariPage() = default;
  SFSafariPage(const SFSafariPage&) = delete;
  SFSafariPage& operator=(const SFSafariPage&) = delete;
  virtual ~SFSafariPage() = default;

  /// The completion is never called inside this call.
  virtual void getPagePropertiesWithCompletionHandler(PropertiesCompletion completion) = 0;

  /// Sends the page's script a message of that name, without user info.
  virtual void dispatchMessageToScriptWithName(std::string_view name) = 0;
};

}  // namespace orvane
