#pragma once

#include <memory>
#include <optional>
#include <string>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Catalogue/PerSiteRules.h"
#include "Platform/SafariServices/SFSafariExtensionHandler.h"
#include "SafariExtension/Extension/SafariExtensionViewController.h"
#include "SafariExtension/Reload/Communication.h"

namespace orvane {

/// What the browser calls: keeps the popover informed of the page that the user looks at, makes a
/// rule of an element that was picked on a page, and has the page reloaded once the companion
/// application says that the browser has the new rules. Main queue.
class SafariExtensionHandler final : public SFSafariExtensionHandler {
 public:
  static constexpr const char* selectorModeCommand = "invokeSelectorMode";
  static constexpr const char* showSelectorMessage = "showSelector";
  static constexpr const char* hideSelectorMessage = "hideSelector";
  static constexpr const char* reloadMessage = "reloadIfNeeded";

  /// All arguments outlive the handler.
  SafariExtensionHandler(Platform& platform, ExtensionHost& host, PersistentStore& store,
                         NSUserDefaults& defaults, DataManager& dataManager,
                         PerSiteRules& perSiteRules, SafariExtensionViewController& viewController);

  void toolbarItemClickedInWindow(SFSafariWindow& window) override;
  void validateToolbarItemInWindow(SFSafariWindow& window,
                                   const ValidationHandler& handler) override;
  SFSafariExtensionViewController& popoverViewController() override;
  void contextMenuItemSelectedWithCommand(std::string_view command, SFSafariPage& page,
                                          const UserInfo& userInfo) override;
  void messageReceivedWithName(std::string_view name, std::shared_ptr<SFSafariPage> page,
                               const UserInfo& userInfo) override;

  /// Has the popover and the next reload be about the page in front in that window.
  void updateURLWith(SFSafariWindow& window);
  /// A key of the shared user defaults has another value.
  void observeValueForKeyPath(const std::optional<std::string>& keyPath);

  /// The page to reload when the companion application says so; else it is the popover's.
  const std::shared_ptr<SFSafariPage>& pageToReload() const { return pageToReload_; }
  void setPageToReload(std::shared_ptr<SFSafariPage> page) { pageToReload_ = std::move(page); }

 private:
  void track(const std::shared_ptr<SFSafariPage>& page);
  void hide(const std::string& selector, const std::string& host,
            std::shared_ptr<SFSafariPage> page);

  Platform& platform_;
  ExtensionHost& host_;
  PersistentStore& store_;
  NSUserDefaults& defaults_;
  DataManager& dataManager_;
  PerSiteRules& perSiteRules_;
  SafariExtensionViewController& viewController_;
  Communication communication_;
  std::shared_ptr<SFSafariPage> pageToReload_;
  std::unique_ptr<NSUserDefaults::Observation> observation_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
  /// Expires when the handler ends and at the next tracking: older answers then do nothing.
  std::shared_ptr<void> tracking_ = std::make_shared<char>();
};

}  // namespace orvane
