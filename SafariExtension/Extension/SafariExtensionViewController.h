#pragma once

#include <memory>
#include <optional>
#include <string>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Catalogue/PerSiteRules.h"
#include "Platform/AppKit/NSButton.h"
#include "Platform/AppKit/NSPopUpButton.h"
#include "Platform/AppKit/NSProgressIndicator.h"
#include "Platform/AppKit/NSStackView.h"
#include "Platform/AppKit/NSTextField.h"
#include "Platform/AppKit/NSTextView.h"
#include "Platform/AppKit/NSWindow.h"
#include "Platform/SafariServices/ExtensionHost.h"
#include "Platform/SafariServices/SFSafariExtensionViewController.h"
#include "SafariExtension/Extension/CustomScroller.h"
#include "SafariExtension/Extension/FlippedClipView.h"
#include "SafariExtension/Extension/Reporter.h"
#include "SafariExtension/Reload/Communication.h"

namespace orvane {

/// The popover of the toolbar button: what it shows of the page in front, and what its controls do.
/// It makes no rules of its own and never has the list rebuilt; it stores what the user wants and
/// wakes the companion application. Main queue.
class SafariExtensionViewController final : public SFSafariExtensionViewController {
 public:
  static constexpr const char* reportPrompt = "Describe what happened:";

  /// All arguments outlive the controller.
  SafariExtensionViewController(Platform& platform, ExtensionHost& host, PersistentStore& store,
                                NSUserDefaults& defaults, DataManager& dataManager,
                                PerSiteRules& perSiteRules, PostReport postReport);

  NSView& view() override { return stack; }
  void viewDidLoad() override;
  void viewWillAppear() override;

  /// The page in front, and its URL. Both belong to the handler. While the popover is open it shows
  /// what fits the URL.
  const std::shared_ptr<SFSafariPage>& page() const { return page_; }
  void setPage(std::shared_ptr<SFSafariPage> page) { page_ = std::move(page); }
  const std::optional<NSURL>& currentURL() const { return currentURL_; }
  void setCurrentURL(std::optional<NSURL> url);

  void updateForDomain(const std::optional<std::string>& host);
  void updatePauseButton();
  /// Wakes the companion application, which notices what has changed, and shows that it is at work.
  void reloadSafari();
  /// From the main panel to the report panel, or back.
  void switchStackViews();
  /// Opens a letter to the makers.
  void contactViaEmail();

  /// `task`, to be run on the main queue unless the controller has ended by then.
  Executor::Task whileAlive(Executor::Task task);

  // What the interface file binds controls to.

  void pause();
  void whitelist();
  void makeHttps();
  void enableHideElementMode();
  /// `sender` lives as long as the controller.
  void sendReport(NSButton& sender);
  void leaveFeedback() { switchStackViews(); }
  /// The same after a word about it.
  void sendEmailAction();
  void launchAppAction();

  // The views that the interface file lays out. Their names there are these.

  NSView iconContainer;
  NSView mainPanel;
  NSView reportPanel;
  NSStackView stack;
  NSButton whitelistButton;
  NSTextField reportStatus;
  /// Names the site.
  NSTextField statusLabel;
  NSButton blockerButton;
  NSButton pauseButton;
  NSButton makeHttpsButton;
  NSButton hideButton;
  NSButton feedbackButton;
  NSProgressIndicator spinner;
  FlippedClipView commentClipView;
  NSScrollView commentScrollView{commentClipView};
  CustomScroller commentScroller;
  NSTextView reportComments{commentScrollView};
  /// Its items are the reasons in the order of `ReportType`.
  NSPopUpButton reportReasonSelector;
  NSButton sendButton;

 private:
  struct SiteSwitch;

  std::optional<std::string> currentHost() const;
  void toggle(const SiteSwitch& kind);
  bool changeRule(const SiteSwitch& kind, const std::string& host);
  Report makeReport() const;
  void reportPosted(NSButton& sender, bool success, const std::optional<NSError>& error);
  void returnToMainPanel(NSButton& sender);
  void closePopover();

  Platform& platform_;
  ExtensionHost& host_;
  PersistentStore& store_;
  NSUserDefaults& defaults_;
  DataManager& dataManager_;
  PerSiteRules& perSiteRules_;
  PostReport postReport_;
  std::shared_ptr<SFSafariPage> page_;
  std::optional<NSURL> currentURL_;
  Communication communication_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
