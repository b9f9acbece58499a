#include "SafariExtension/Extension/SafariExtensionHandler.h"

#include <utility>

#include <fmt/format.h>

#include "SafariExtension/Extension/PrintedForm.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {
namespace {

constexpr std::chrono::seconds reloadDelay{1};

/// Every "www." goes, not only the one at the start, if there is one at the start.
std::string domainOf(std::string host) {
  constexpr std::string_view prefix = "www.";
  if (!host.starts_with(prefix)) return host;
  for (auto at = host.find(prefix); at != std::string::npos; at = host.find(prefix, at)) {
    host.erase(at, prefix.size());
  }
  return host;
}

const std::string* selectorIn(const SFSafariExtensionHandler::UserInfo& userInfo) {
  if (!userInfo) return nullptr;
  const auto entry = userInfo->find("sel");
  return entry == userInfo->end() ? nullptr : entry->second.as<std::string>();
}

}  // namespace

SafariExtensionHandler::SafariExtensionHandler(Platform& platform, ExtensionHost& host,
                                               PersistentStore& store, NSUserDefaults& defaults,
                                               DataManager& dataManager, PerSiteRules& perSiteRules,
                                               SafariExtensionViewController& viewController)
    : platform_(platform),
      host_(host),
      store_(store),
      defaults_(defaults),
      dataManager_(dataManager),
      perSiteRules_(perSiteRules),
      viewController_(viewController),
      communication_(platform, defaults),
      observation_(defaults.addObserver(rawValue(Communication::Message::reloadTab), [this] {
        observeValueForKeyPath(std::string(rawValue(Communication::Message::reloadTab)));
      })) {}

void SafariExtensionHandler::toolbarItemClickedInWindow(SFSafariWindow& window) {
  updateURLWith(window);
}

void SafariExtensionHandler::validateToolbarItemInWindow(SFSafariWindow& window,
                                                         const ValidationHandler& handler) {
  updateURLWith(window);
  handler(/*isEnabled=*/true, defaults_.boolForKey(Communication::pausedKey) ? "OFF" : "");
}

SFSafariExtensionViewController& SafariExtensionHandler::popoverViewController() {
  host_.application.getActiveWindowWithCompletionHandler(
      [this, lifetime = std::weak_ptr(lifetime_)](const std::shared_ptr<SFSafariWindow>& window) {
        if (window && !lifetime.expired()) updateURLWith(*window);
      });
  return viewController_;
}

void SafariExtensionHandler::contextMenuItemSelectedWithCommand(std::string_view command,
                                                                SFSafariPage& page,
                                                                const UserInfo& /*userInfo*/) {
  if (command == selectorModeCommand) page.dispatchMessageToScriptWithName(showSelectorMessage);
}

void SafariExtensionHandler::updateURLWith(SFSafariWindow& window) {
  // Of two trackings the later one counts, whatever the order of the answers.
  tracking_ = std::make_shared<char>();
  window.getActiveTabWithCompletionHandler(
      [this, lifetime = std::weak_ptr(tracking_)](const std::shared_ptr<SFSafariTab>& tab) {
        if (!tab || lifetime.expired()) return;
        tab->getActivePageWithCompletionHandler(
            [this, lifetime](const std::shared_ptr<SFSafariPage>& page) {
              if (!lifetime.expired()) track(page);
            });
      });
}

void SafariExtensionHandler::track(const std::shared_ptr<SFSafariPage>& page) {
  viewController_.setPage(page);
  pageToReload_ = page;
  if (!page) return;
  page->getPagePropertiesWithCompletionHandler(
      [this, lifetime = std::weak_ptr(tracking_)](
          const std::optional<SFSafariPageProperties>& properties) {
        if (lifetime.expired()) return;
        viewController_.setCurrentURL(properties ? properties->nullableURL() : std::nullopt);
      });
}

void SafariExtensionHandler::messageReceivedWithName(std::string_view name,
                                                     std::shared_ptr<SFSafariPage> page,
                                                     const UserInfo& userInfo) {
  platform_.systemLog.print(
      fmt::format("Recieved {} message with {} params", name, printed(userInfo)));
  auto& sender = *page;
  sender.getPagePropertiesWithCompletionHandler(
      [this, lifetime = std::weak_ptr(lifetime_), name = std::string(name), page = std::move(page),
       userInfo](const std::optional<SFSafariPageProperties>& properties) mutable {
        if (lifetime.expired()) return;
        if (!properties || !properties->nullableURL() || !properties->nullableURL()->host()) return;
        const auto* selector = selectorIn(userInfo);
        if (selector == nullptr || name != hideSelectorMessage) return;
        hide(*selector, *properties->nullableURL()->host(), std::move(page));
      });
}

void SafariExtensionHandler::hide(const std::string& selector, const std::string& host,
                                  std::shared_ptr<SFSafariPage> page) {
  const std::vector<std::string> domains{"*" + domainOf(host)};
  const auto rule = perSiteRules_.hideElementRule(
      selector, DomainFilter{DomainFilterType::IfDomain, domains}, std::nullopt, std::nullopt);
  if (!rule) {
    platform_.systemLog.print(fmt::format("Orvane Error: Incorrect selector {} or domain filter {}",
                                          selector, printed(domains)));
    return;
  }
  // The companion may have changed them since they were read.
  dataManager_.setConfigurablePackages(store_.readConfigurablePackages());
  if (const auto* package =
          dataManager_.configurablePackage(ConfigurablePackageType::HideElements)) {
    dataManager_.addRule(*rule, std::string(package->id));
  }
  communication_.send(Communication::Message::reloadRulesFromDisk);
  pageToReload_ = std::move(page);
  launchCompanionHidden(platform_.workspace);
}

void SafariExtensionHandler::observeValueForKeyPath(const std::optional<std::string>& keyPath) {
  platform_.systemLog.print(
      fmt::format("Got message {}", keyPath ? fmt::format("Optional(\"{}\")", *keyPath) : "nil"));
  if (keyPath != rawValue(Communication::Message::reloadTab)) return;
  auto page = pageToReload_ ? pageToReload_ : viewController_.page();
  if (!page) return;
  // The page is reloaded and the popover closed even if there is no handler by then.
  platform_.mainQueue.postAfter(
      reloadDelay,
      viewController_.whileAlive([page = std::move(page), &viewController = viewController_] {
        page->dispatchMessageToScriptWithName(reloadMessage);
        if (auto* window = viewController.view().window()) window->close();
      }));
  pageToReload_.reset();
  viewController_.setPage(nullptr);
}

}  // namespace orvane
