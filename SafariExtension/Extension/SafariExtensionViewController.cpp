#include "SafariExtension/Extension/SafariExtensionViewController.h"

#include <array>
#include <utility>

#include <fmt/format.h>

#include "SafariExtension/Extension/Addresses.h"
#include "SafariExtension/Extension/FeedbackMail.h"
#include "SafariExtension/Reload/CompanionApplication.h"

namespace orvane {
namespace {

constexpr std::chrono::milliseconds fadeDuration{300};
constexpr std::chrono::seconds thanksDuration{2};

constexpr NSSize commentInset{2, 4};
constexpr double commentBorderWidth = 1;
constexpr double commentCornerRadius = 6;
constexpr double spacingAfterIcon = 11;

const NSAlert feedbackAlert{
    .alertStyle = NSAlertStyle::informational,
    .messageText = "Feedback is Welcome",
    .informativeText =
        "Orvane is developed by two indies, we read all emails we get, but we can't "
        "respond to everyone.\nThanks for understanding.",
    .icon = "friends",
    .buttonTitles = {"OK, I understand 💜"}};

std::string printed(const std::optional<NSURL>& url) { return url ? url->absoluteString() : "nil"; }

}  // namespace

/// One kind of rule that the popover switches for a site.
struct SafariExtensionViewController::SiteSwitch {
  ConfigurablePackageType package;
  std::optional<Rule> (PerSiteRules::*find)(std::string_view host);
  std::optional<Rule> (PerSiteRules::*make)(const std::vector<std::string>& domains,
                                            const std::optional<std::string>& id,
                                            const std::optional<std::string>& name);
  /// In the sentence that says that no rule can be made.
  std::string_view name;
};

SafariExtensionViewController::SafariExtensionViewController(
    Platform& platform, ExtensionHost& host, PersistentStore& store, NSUserDefaults& defaults,
    DataManager& dataManager, PerSiteRules& perSiteRules, PostReport postReport)
    : platform_(platform),
      host_(host),
      store_(store),
      defaults_(defaults),
      dataManager_(dataManager),
      perSiteRules_(perSiteRules),
      postReport_(std::move(postReport)),
      communication_(platform, defaults) {
  stack.addArrangedSubview(mainPanel);
  stack.addArrangedSubview(reportPanel);
  reportPanel.setHidden(true);
  reportStatus.setStringValue(reportPrompt);
  spinner.setAlphaValue(0);
}

void SafariExtensionViewController::viewDidLoad() {
  reportComments.setTextContainerInset(commentInset);
}

void SafariExtensionViewController::viewWillAppear() {
  // The companion may have changed them since they were read.
  dataManager_.setConfigurablePackages(store_.readConfigurablePackages());
  updateForDomain(currentHost());
  updatePauseButton();
  spinner.setAlphaValue(0);
  blockerButton.setAlphaValue(1);
  auto& border = reportComments.enclosingScrollView();
  border.setWantsLayer(true);
  CALayer layer = *border.layer();
  layer.borderColor = NSColor::lightGrayColor();
  layer.borderWidth = commentBorderWidth;
  layer.cornerRadius = commentCornerRadius;
  border.setLayer(layer);
  if (auto* window = view().window()) window->makeFirstResponder(reportComments);
}

void SafariExtensionViewController::setCurrentURL(std::optional<NSURL> url) {
  if (currentURL_ == url) return;
  currentURL_ = std::move(url);
  if (view().window() != nullptr) updateForDomain(currentHost());
}

std::optional<std::string> SafariExtensionViewController::currentHost() const {
  return currentURL_ ? currentURL_->host() : std::nullopt;
}

void SafariExtensionViewController::updateForDomain(const std::optional<std::string>& host) {
  const bool isWhitelisted = host && perSiteRules_.whitelistRuleForDomain(*host);
  const bool isHttpsOnly = host && perSiteRules_.makeHttpsRuleForDomain(*host);
  whitelistButton.setTitle(isWhitelisted ? "🚫 Remove from Whitelist" : "✅ Add to Whitelist");
  makeHttpsButton.setTitle(isHttpsOnly ? "🔓 Disable HTTPS-only" : "🔒 Make HTTPS-only");
  platform_.standardOutput.print(
      fmt::format("The domain is {}whitelisted", isWhitelisted ? "" : "not "));
  statusLabel.setHidden(!host);
  if (!host) return;
  statusLabel.setStringValue(*host);
  stack.setCustomSpacing(spacingAfterIcon, iconContainer);
}

void SafariExtensionViewController::pause() {
  const bool isPaused = defaults_.boolForKey(Communication::pausedKey);
  static_cast<void>(defaults_.setObject(!isPaused, Communication::pausedKey));
  static_cast<void>(defaults_.synchronize());
  reloadSafari();
  host_.application.setToolbarItemsNeedUpdate();
  updatePauseButton();
}

void SafariExtensionViewController::updatePauseButton() {
  const bool isPaused = defaults_.boolForKey(Communication::pausedKey);
  pauseButton.setTitle(isPaused ? "⚠️ Resume Blocking" : "⏸ Pause Blocking");
}

void SafariExtensionViewController::reloadSafari() {
  launchCompanionHidden(platform_.workspace);
  spinner.startAnimation();
  spinner.setAlphaValue(1, fadeDuration);
  blockerButton.setAlphaValue(0, fadeDuration);
}

void SafariExtensionViewController::whitelist() {
  toggle({ConfigurablePackageType::Whitelist, &PerSiteRules::whitelistRuleForDomain,
          &PerSiteRules::whitelistRuleForDomains, "whitelist"});
}

void SafariExtensionViewController::makeHttps() {
  toggle({ConfigurablePackageType::makeHttps, &PerSiteRules::makeHttpsRuleForDomain,
          &PerSiteRules::makeHttpsRuleForDomains, "make https"});
}

void SafariExtensionViewController::toggle(const SiteSwitch& kind) {
  const auto host = currentHost();
  if (!host) {
    platform_.standardOutput.print("Host not available " + printed(currentURL_));
    return;
  }
  if (!changeRule(kind, *host)) return;
  updateForDomain(host);
  reloadSafari();
  communication_.send(Communication::Message::reloadRulesFromDisk);
}

/// False when no rule can be made for the host.
bool SafariExtensionViewController::changeRule(const SiteSwitch& kind, const std::string& host) {
  if (const auto rule = (perSiteRules_.*kind.find)(host)) {
    dataManager_.replaceRule(*rule, std::nullopt, kind.package);
    return true;
  }
  const auto rule = (perSiteRules_.*kind.make)({host}, std::nullopt, std::nullopt);
  if (!rule) {
    platform_.standardOutput.print(fmt::format("Can't create {} rule for {}", kind.name, host));
    return false;
  }
  dataManager_.addRule(*rule, rawValue(kind.package));
  return true;
}

void SafariExtensionViewController::enableHideElementMode() {
  platform_.standardOutput.print("Dispatching showSelector message");
  if (page_) page_->dispatchMessageToScriptWithName("showSelector");
  closePopover();
}

void SafariExtensionViewController::switchStackViews() {
  for (auto* view : stack.arrangedSubviews()) view->setHidden(!view->isHidden());
}

void SafariExtensionViewController::sendReport(NSButton& sender) {
  const auto report = makeReport();
  sender.setEnabled(false);
  reportStatus.setStringValue("Sending...");
  postReport_(report, [this, &sender, lifetime = std::weak_ptr(lifetime_)](
                          bool success, const std::optional<NSError>& error) {
    if (!lifetime.expired()) reportPosted(sender, success, error);
  });
}

Report SafariExtensionViewController::makeReport() const {
  const auto& version = host_.processInfo.operatingSystemVersion;
  return {.type = static_cast<ReportType>(reportReasonSelector.indexOfSelectedItem()),
          .url = currentURL_ ? *currentURL_ : *NSURL::fromString(webSiteAddress),
          .comment = reportComments.string(),
          .device = "Mac " + host_.processInfo.localizedHostName,
          .appVersion = applicationVersion(platform_.mainBundle),
          .osVersion = fmt::format("macOS {}.{}.{}", version.majorVersion, version.minorVersion,
                                   version.patchVersion)};
}

void SafariExtensionViewController::reportPosted(NSButton& sender, bool success,
                                                 const std::optional<NSError>& error) {
  if (!success) {
    if (error) reportStatus.setStringValue(error->localizedDescription);
    sender.setEnabled(true);
    return;
  }
  reportStatus.setStringValue("Thank you for feedback!");
  reportComments.setString("");
  platform_.mainQueue.postAfter(thanksDuration,
                                whileAlive([this, &sender] { returnToMainPanel(sender); }));
}

void SafariExtensionViewController::returnToMainPanel(NSButton& sender) {
  sender.setEnabled(true);
  reportStatus.setStringValue(reportPrompt);
  if (!reportPanel.isHidden()) switchStackViews();
  closePopover();
}

void SafariExtensionViewController::sendEmailAction() {
  host_.runAlertModal(feedbackAlert, whileAlive([this] { contactViaEmail(); }));
}

void SafariExtensionViewController::contactViaEmail() {
  const auto link = feedbackMailLink(currentURL_, platform_.mainBundle);
  if (const auto url = NSURL::fromString(link)) {
    platform_.workspace.openURL(*url);
  } else {
    platform_.standardOutput.print(fmt::format("Can't convert string {} to URL", link));
  }
}

void SafariExtensionViewController::launchAppAction() {
  platform_.workspace.launchApp(companionIdentifier, NSWorkspaceLaunchOptions{});
}

void SafariExtensionViewController::closePopover() {
  if (auto* window = view().window()) window->close();
}

Executor::Task SafariExtensionViewController::whileAlive(Executor::Task task) {
  return [task = std::move(task), lifetime = std::weak_ptr(lifetime_)] {
    if (!lifetime.expired()) task();
  };
}

}  // namespace orvane
