#include "Tests/SafariExtension/Extension/ExtensionFixture.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* add = "✅ Add to Whitelist";
constexpr const char* remove = "🚫 Remove from Whitelist";
constexpr const char* force = "🔒 Make HTTPS-only";
constexpr const char* unforce = "🔓 Disable HTTPS-only";

class SitePanel : public ExtensionTest {
 protected:
  SitePanel() {
    popover.viewDidLoad();
    popover.setCurrentURL(NSURL::fromString("https://www.example.com/news"));
  }
  void open() {
    window = std::make_unique<RecordingPopoverWindow>(popover.view());
    popover.viewWillAppear();
    clearLogs();
  }
  std::vector<std::string> domains(ConfigurablePackageType type) {
    std::vector<std::string> all;
    for (const auto& rule : rulesOnDisk(type)) {
      for (const auto& domain : rule.blocker.trigger.domainFilter->values) all.push_back(domain);
    }
    return all;
  }
  void whitelistElsewhere(const std::string& domain) {
    const auto rule = companion.perSiteRules().whitelistRuleForDomains({domain}, std::nullopt, "");
    ASSERT_TRUE(rule && companion.dataManager().addRule(*rule, "whitelist"));
  }

  std::unique_ptr<RecordingPopoverWindow> window;
};

TEST_F(SitePanel, ShowsTheMainPanelFirst) {
  EXPECT_THAT(popover.stack.arrangedSubviews(),
              ElementsAre(&popover.mainPanel, &popover.reportPanel));
  EXPECT_FALSE(popover.mainPanel.isHidden());
  EXPECT_TRUE(popover.reportPanel.isHidden());
  EXPECT_EQ(&popover.view(), &popover.stack);
}

TEST_F(SitePanel, HasSpaceAroundTheComment) {
  EXPECT_EQ(popover.reportComments.textContainerInset(), (NSSize{2, 4}));
}

TEST_F(SitePanel, ShowsWhatIsTrueOfTheSiteWhenItAppears) {
  open();
  EXPECT_EQ(popover.whitelistButton.title(), add);
  EXPECT_EQ(popover.makeHttpsButton.title(), force);
  EXPECT_EQ(popover.pauseButton.title(), "⏸ Pause Blocking");
  EXPECT_FALSE(popover.statusLabel.isHidden());
  EXPECT_EQ(popover.statusLabel.stringValue(), "www.example.com");
  EXPECT_EQ(popover.stack.customSpacingAfterView(popover.iconContainer), 11);
}

TEST_F(SitePanel, SaysInItsLogWhetherTheSiteIsWhitelisted) {
  popover.updateForDomain("www.example.com");
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("The domain is not whitelisted"));
  popover.whitelist();
  machine.standardOutput.take();
  popover.updateForDomain("www.example.com");
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("The domain is whitelisted"));
}

TEST_F(SitePanel, WithoutAHostNamesNoSite) {
  popover.setCurrentURL(NSURL::fromString("about:blank"));
  open();
  EXPECT_TRUE(popover.statusLabel.isHidden());
  EXPECT_EQ(popover.stack.customSpacingAfterView(popover.iconContainer), std::nullopt);
  EXPECT_EQ(popover.whitelistButton.title(), add);
  EXPECT_EQ(popover.makeHttpsButton.title(), force);
}

TEST_F(SitePanel, NamesTheSiteAgainWhenThereIsOne) {
  popover.updateForDomain(std::nullopt);
  EXPECT_TRUE(popover.statusLabel.isHidden());
  popover.updateForDomain("example.com");
  EXPECT_FALSE(popover.statusLabel.isHidden());
  EXPECT_EQ(popover.statusLabel.stringValue(), "example.com");
}

TEST_F(SitePanel, UndoesTheFadeWhenItAppears) {
  popover.reloadSafari();
  open();
  EXPECT_EQ(popover.spinner.alphaValue(), 0);
  EXPECT_EQ(popover.blockerButton.alphaValue(), 1);
}

TEST_F(SitePanel, DrawsABorderAroundTheCommentAndGivesItTheKeys) {
  open();
  EXPECT_EQ(popover.commentScrollView.layer(),
            (CALayer{std::nullopt, NSColor::lightGrayColor(), 1, 6}));
  EXPECT_EQ(window->firstResponder, &popover.reportComments);
}

TEST_F(SitePanel, AppearsWithoutAWindowToo) {
  popover.viewWillAppear();
  EXPECT_EQ(popover.whitelistButton.title(), add);
}

TEST_F(SitePanel, ShowsWhatTheCompanionHasWrittenMeanwhile) {
  open();
  whitelistElsewhere("www.example.com");
  popover.viewWillAppear();
  EXPECT_EQ(popover.whitelistButton.title(), remove);
}

TEST_F(SitePanel, FollowsAURLThatArrivesWhileItIsOpen) {
  whitelistElsewhere("late.example");
  popover.setCurrentURL(std::nullopt);
  open();
  EXPECT_TRUE(popover.statusLabel.isHidden());
  popover.setCurrentURL(NSURL::fromString("https://late.example/"));
  EXPECT_EQ(popover.whitelistButton.title(), remove);
  EXPECT_EQ(popover.statusLabel.stringValue(), "late.example");
  EXPECT_FALSE(popover.statusLabel.isHidden());
}

TEST_F(SitePanel, WaitsWithAURLThatArrivesWhileItIsClosed) {
  popover.setCurrentURL(NSURL::fromString("https://early.example/"));
  EXPECT_THAT(machine.standardOutput.take(), IsEmpty());
  open();
  EXPECT_EQ(popover.statusLabel.stringValue(), "early.example");
}

TEST_F(SitePanel, WhitelistingASiteTwiceAddsTheRuleAndRemovesIt) {
  open();
  popover.whitelist();
  EXPECT_EQ(popover.whitelistButton.title(), remove);
  EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), ElementsAre("www.example.com"));
  popover.whitelist();
  EXPECT_EQ(popover.whitelistButton.title(), add);
  EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), IsEmpty());
}

TEST_F(SitePanel, MakingASiteHttpsOnlyTwiceAddsTheRuleAndRemovesIt) {
  open();
  popover.makeHttps();
  EXPECT_EQ(popover.makeHttpsButton.title(), unforce);
  EXPECT_EQ(popover.whitelistButton.title(), add);
  EXPECT_THAT(domains(ConfigurablePackageType::makeHttps), ElementsAre("www.example.com"));
  EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), IsEmpty());
  popover.makeHttps();
  EXPECT_EQ(popover.makeHttpsButton.title(), force);
  EXPECT_THAT(domains(ConfigurablePackageType::makeHttps), IsEmpty());
}

TEST_F(SitePanel, AToggleSavesThenWakesTheCompanionAndThenTellsIt) {
  open();
  machine.workspace.onLaunch = [&] {
    EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), ElementsAre("www.example.com"));
    EXPECT_EQ(popover.whitelistButton.title(), remove);
    EXPECT_EQ(companion.defaults().object("reloadRulesFromDisk"), std::nullopt);
  };
  popover.whitelist();
  EXPECT_THAT(machine.workspace.launches, ElementsAre(hiddenLaunch));
  EXPECT_TRUE(companion.defaults().object("reloadRulesFromDisk"));
  EXPECT_THAT(machine.standardOutput.take(), Contains("Sending reloadRulesFromDisk..."));
}

TEST_F(SitePanel, AToggleFadesTheSpinnerIn) {
  open();
  popover.whitelist();
  EXPECT_TRUE(popover.spinner.isAnimating());
  EXPECT_EQ(popover.spinner.alphaValue(), 1);
  EXPECT_EQ(popover.spinner.alphaDuration(), std::chrono::milliseconds(300));
  EXPECT_EQ(popover.blockerButton.alphaValue(), 0);
  EXPECT_EQ(popover.blockerButton.alphaDuration(), std::chrono::milliseconds(300));
}

TEST_F(SitePanel, TakesOutTheRuleThatCoversTheSiteWhateverElseItCovers) {
  whitelistElsewhere("*example.com");
  open();
  EXPECT_EQ(popover.whitelistButton.title(), remove);
  popover.whitelist();
  EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), IsEmpty());
}

TEST_F(SitePanel, WithoutAHostTogglesChangeNothing) {
  popover.setCurrentURL(std::nullopt);
  open();
  popover.whitelist();
  popover.makeHttps();
  EXPECT_THAT(machine.standardOutput.take(),
              ElementsAre("Host not available nil", "Host not available nil"));
  popover.setCurrentURL(NSURL::fromString("file:///etc/hosts"));
  machine.standardOutput.take();
  popover.whitelist();
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("Host not available file:///etc/hosts"));
  EXPECT_THAT(domains(ConfigurablePackageType::Whitelist), IsEmpty());
  EXPECT_THAT(domains(ConfigurablePackageType::makeHttps), IsEmpty());
  EXPECT_THAT(machine.workspace.launches, IsEmpty());
}

TEST_F(SitePanel, WithAHostThatIsNoDomainTogglesChangeNothing) {
  popover.setCurrentURL(NSURL::fromString("http://intranet/"));
  open();
  popover.whitelist();
  popover.makeHttps();
  EXPECT_THAT(machine.standardOutput.take(),
              ElementsAre("Can't create whitelist rule for intranet",
                          "Can't create make https rule for intranet"));
  EXPECT_EQ(popover.whitelistButton.title(), add);
  EXPECT_EQ(popover.makeHttpsButton.title(), force);
  EXPECT_THAT(machine.workspace.launches, IsEmpty());
  EXPECT_EQ(popover.spinner.alphaValue(), 0);
}

TEST_F(SitePanel, PausingStoresItWakesTheCompanionAndUpdatesTheToolbar) {
  open();
  machine.workspace.onLaunch = [&] {
    EXPECT_TRUE(companion.defaults().boolForKey("paused"));
    EXPECT_EQ(machine.suiteAtRisk.synchronizations, 1);
    EXPECT_EQ(browser.application.toolbarUpdates, 0);
  };
  popover.pause();
  EXPECT_TRUE(companion.defaults().boolForKey("paused"));
  EXPECT_EQ(popover.pauseButton.title(), "⚠️ Resume Blocking");
  EXPECT_THAT(machine.workspace.launches, ElementsAre(hiddenLaunch));
  EXPECT_EQ(popover.spinner.alphaValue(), 1);
  EXPECT_EQ(browser.application.toolbarUpdates, 1);
  EXPECT_EQ(machine.suiteAtRisk.synchronizations, 1);
}

TEST_F(SitePanel, PausingSendsNoSignal) {
  open();
  popover.pause();
  settle();
  EXPECT_THAT(machine.standardOutput.take(), IsEmpty());
  EXPECT_EQ(companion.defaults().object("reloadRulesFromDisk"), std::nullopt);
}

TEST_F(SitePanel, ResumingUndoesThePause) {
  open();
  popover.pause();
  popover.pause();
  EXPECT_FALSE(companion.defaults().boolForKey("paused"));
  EXPECT_EQ(popover.pauseButton.title(), "⏸ Pause Blocking");
  EXPECT_EQ(browser.application.toolbarUpdates, 2);
}

TEST_F(SitePanel, ShowsAPauseThatAnotherProgramHasMadeWhenItAppears) {
  ASSERT_TRUE(companion.defaults().setObject(true, "paused"));
  open();
  EXPECT_EQ(popover.pauseButton.title(), "⚠️ Resume Blocking");
}

TEST_F(SitePanel, ElementHidingStartsInThePageAndClosesThePopover) {
  open();
  popover.setPage(browser.page);
  popover.enableHideElementMode();
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("Dispatching showSelector message"));
  EXPECT_THAT(browser.page->messages, ElementsAre("showSelector"));
  EXPECT_TRUE(window->isClosed);
}

TEST_F(SitePanel, ElementHidingWithoutAPageOnlyClosesThePopover) {
  open();
  popover.enableHideElementMode();
  EXPECT_THAT(machine.standardOutput.take(), ElementsAre("Dispatching showSelector message"));
  EXPECT_THAT(browser.page->messages, IsEmpty());
  EXPECT_TRUE(window->isClosed);
}

TEST_F(SitePanel, OpensTheCompanionInFront) {
  popover.launchAppAction();
  EXPECT_THAT(machine.workspace.launches,
              ElementsAre(RecordingWorkspace::Launch{"com.tessaly.BlockerMac", 0}));
}

}  // namespace
}  // namespace orvane::test
