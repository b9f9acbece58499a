#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/PropertyListValue.h"
#include "Platform/SafariServices/SFSafariApplication.h"
#include "Platform/SafariServices/SFSafariExtensionViewController.h"

namespace orvane {

/// What the browser calls of an extension. Main queue.
class SFSafariExtensionHandler {
 public:
  using UserInfo = std::optional<PropertyListValue::Dictionary>;
  using ValidationHandler = std::function<void(bool isEnabled, const std::string& badgeText)>;

  SFSafariExtensionHandler() = default;
  SFSafariExtensionHandler(const SFSafariExtensionHandler&) = delete;
  SFSafariExtensionHandler& operator=(const SFSafariExtensionHandler&) = delete;
  virtual ~SFSafariExtensionHandler() = default;

  /// The user has pressed the extension's toolbar item; the browser is about to open the popover.
  virtual void toolbarItemClickedInWindow(SFSafariWindow& window) = 0;
  /// The browser wants to know how the toolbar item is to look in that window. Once for each of
  /// these calls, the handler is told.
  virtual void validateToolbarItemInWindow(SFSafariWindow& window,
                                           const ValidationHandler& handler) = 0;
  /// The controller of the popover that is about to open, which lives as long as the handler.
  virtual SFSafariExtensionViewController& popoverViewController() = 0;
  virtual void contextMenuItemSelectedWithCommand(std::string_view command, SFSafariPage& page,
                                                  const UserInfo& userInfo) = 0;
  /// The page script of `page`, which is not null, has sent a message.
  virtual void messageReceivedWithName(std::string_view name, std::shared_ptr<SFSafariPage> page,
                                       const UserInfo& userInfo) = 0;
};

}  // namespace orvane
