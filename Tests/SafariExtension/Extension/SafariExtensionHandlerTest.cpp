#include "Tests/SafariExtension/Extension/ExtensionFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using UserInfo = SFSafariExtensionHandler::UserInfo;

class HandlerTest : public ExtensionTest {
 protected:
  void click() {
    handler().toolbarItemClickedInWindow(*browser.window);
    settle();
  }
  /// "enabled" and the badge.
  std::pair<bool, std::string> validate() {
    std::pair<bool, std::string> answer;
    int calls = 0;
    handler().validateToolbarItemInWindow(*browser.window,
                                          [&](bool isEnabled, const std::string& badge) {
                                            answer = {isEnabled, badge};
                                            ++calls;
                                          });
    settle();
    EXPECT_EQ(calls, 1);
    return answer;
  }
  /// What the companion application does when the browser has a new list.
  void sendReloadTab() {
    companion.communication().send(Communication::Message::reloadTab);
    settle();
  }
};

TEST_F(HandlerTest, AtItsStartItHasNoPageToReload) { EXPECT_EQ(handler().pageToReload(), nullptr); }

TEST_F(HandlerTest, AToolbarClickTracksThePageInFront) {
  click();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_EQ(popover.currentURL(), NSURL::fromString("https://www.example.com/news?id=1"));
}

TEST_F(HandlerTest, UpdatingTheURLFromOutsideTracksThePageAsAClickDoes) {
  handler().updateURLWith(*browser.window);
  settle();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_EQ(popover.currentURL()->host(), "www.example.com");
}

TEST_F(HandlerTest, AClickInAWindowWithoutATabChangesNothing) {
  click();
  const auto before = popover.currentURL();
  browser.window->tab = nullptr;
  click();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_EQ(popover.currentURL(), before);
}

TEST_F(HandlerTest, AClickInATabWithoutAPageForgetsThePageAndKeepsTheURL) {
  click();
  browser.tab->page = nullptr;
  click();
  EXPECT_EQ(popover.page(), nullptr);
  EXPECT_EQ(handler().pageToReload(), nullptr);
  EXPECT_EQ(popover.currentURL()->host(), "www.example.com");
}

TEST_F(HandlerTest, APageWithoutPropertiesHasNoURL) {
  click();
  browser.page->properties.reset();
  click();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(popover.currentURL(), std::nullopt);
}

TEST_F(HandlerTest, APageWhosePropertiesCarryNoURLHasNone) {
  click();
  browser.page->properties = SFSafariPageProperties(std::nullopt);
  click();
  EXPECT_EQ(popover.currentURL(), std::nullopt);
}

TEST_F(HandlerTest, ValidationTracksThePageInFront) {
  validate();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_EQ(popover.currentURL()->host(), "www.example.com");
}

TEST_F(HandlerTest, TheToolbarItemIsAlwaysEnabledAndItsBadgeSaysWhetherBlockingIsPaused) {
  EXPECT_EQ(validate(), std::pair(true, std::string()));
  ASSERT_TRUE(companion.defaults().setObject(true, "paused"));
  EXPECT_EQ(validate(), std::pair(true, std::string("OFF")));
  ASSERT_TRUE(companion.defaults().setObject(false, "paused"));
  EXPECT_EQ(validate(), std::pair(true, std::string()));
}

TEST_F(HandlerTest, TheToolbarItemIsValidatedInAWindowWithoutATabToo) {
  browser.window->tab = nullptr;
  EXPECT_EQ(validate(), std::pair(true, std::string()));
}

TEST_F(HandlerTest, ThePopoverIsGivenAtOnceAndLearnsOfThePageLater) {
  browser.answers.areHeldBack = true;
  EXPECT_EQ(&handler().popoverViewController(), &popover);
  settle();
  EXPECT_EQ(popover.page(), nullptr);
  browser.answers.areHeldBack = false;
  browser.answers.postAll();
  settle();
  EXPECT_EQ(popover.page(), browser.page);
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_EQ(popover.currentURL()->host(), "www.example.com");
}

TEST_F(HandlerTest, WithoutAnActiveWindowThePopoverLearnsOfNoPage) {
  browser.application.window = nullptr;
  EXPECT_EQ(&handler().popoverViewController(), &popover);
  settle();
  EXPECT_EQ(popover.page(), nullptr);
}

TEST_F(HandlerTest, TheContextMenuCommandStartsElementPickingInThatPage) {
  RecordingPage other(browser.answers, "https://other.example/");
  handler().contextMenuItemSelectedWithCommand("invokeSelectorMode", other, std::nullopt);
  EXPECT_THAT(other.messages, ElementsAre("showSelector"));
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

TEST_F(HandlerTest, AnotherContextMenuCommandIsIgnored) {
  for (const char* command : {"", "invokeselectormode", "invokeSelectorMode "}) {
    handler().contextMenuItemSelectedWithCommand(command, *browser.page, std::nullopt);
  }
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

TEST_F(HandlerTest, ASignalReloadsThePageOneSecondLaterAndForgetsItAtOnce) {
  click();
  sendReloadTab();
  EXPECT_EQ(handler().pageToReload(), nullptr);
  EXPECT_EQ(popover.page(), nullptr);
  machine.time.advance(std::chrono::milliseconds(999));
  EXPECT_THAT(browser.page->messages, IsEmpty());
  machine.time.advance(std::chrono::milliseconds(1));
  EXPECT_THAT(browser.page->messages, ElementsAre("reloadIfNeeded"));
}

TEST_F(HandlerTest, ASignalClosesThePopoverAfterThePageHasItsMessage) {
  click();
  RecordingPopoverWindow window(popover.view());
  sendReloadTab();
  machine.time.advance(std::chrono::milliseconds(999));
  EXPECT_FALSE(window.isClosed);
  bool wasClosedAtMessage = true;
  browser.page->onMessage = [&] { wasClosedAtMessage = window.isClosed; };
  machine.time.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(window.isClosed);
  EXPECT_FALSE(wasClosedAtMessage);
}

TEST_F(HandlerTest, ASignalIsForThePopoversPageWhenThereIsNoPageToReload) {
  const auto shown = std::make_shared<RecordingPage>(browser.answers, "https://shown.example/");
  popover.setPage(shown);
  sendReloadTab();
  EXPECT_EQ(popover.page(), nullptr);
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(shown->messages, ElementsAre("reloadIfNeeded"));
}

TEST_F(HandlerTest, ThePageToReloadGoesBeforeThePopoversPage) {
  const auto shown = std::make_shared<RecordingPage>(browser.answers, "https://shown.example/");
  popover.setPage(shown);
  handler().setPageToReload(browser.page);
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(browser.page->messages, ElementsAre("reloadIfNeeded"));
  EXPECT_THAT(shown->messages, IsEmpty());
}

TEST_F(HandlerTest, ASignalWithoutAnyPageDoesNothingBeyondItsLogLine) {
  RecordingPopoverWindow window(popover.view());
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(2));
  EXPECT_THAT(machine.systemLog.take(), ElementsAre("Got message Optional(\"reloadTab\")"));
  EXPECT_FALSE(window.isClosed);
}

TEST_F(HandlerTest, TheNextSignalIsForThePageThatWasTrackedMeanwhile) {
  click();
  sendReloadTab();
  const auto next = std::make_shared<RecordingPage>(browser.answers, "https://next.example/");
  browser.tab->page = next;
  click();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(next->messages, IsEmpty());
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(browser.page->messages, SizeIs(1));
  EXPECT_THAT(next->messages, ElementsAre("reloadIfNeeded"));
}

TEST_F(HandlerTest, EverySignalIsLoggedOnTheSystemLog) {
  sendReloadTab();
  sendReloadTab();
  EXPECT_THAT(machine.systemLog.take(), ElementsAre("Got message Optional(\"reloadTab\")",
                                                    "Got message Optional(\"reloadTab\")"));
  EXPECT_THAT(machine.standardOutput.take(), IsEmpty());
}

TEST_F(HandlerTest, AChangeOfAnotherKeyIsLoggedAndNothingMore) {
  click();
  handler().observeValueForKeyPath("paused");
  handler().observeValueForKeyPath(std::nullopt);
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre("Got message Optional(\"paused\")", "Got message nil"));
  EXPECT_EQ(handler().pageToReload(), browser.page);
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

TEST_F(HandlerTest, OnlyTheSignalToTheExtensionIsObserved) {
  companion.communication().send(Communication::Message::reloadRulesFromDisk);
  ASSERT_TRUE(companion.defaults().setObject(true, "paused"));
  settle();
  EXPECT_THAT(machine.systemLog.take(), IsEmpty());
}

TEST_F(HandlerTest, AHandlerThatHasEndedStillReloadsThePageThatItHasPromisedTo) {
  click();
  sendReloadTab();
  handler_.reset();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(browser.page->messages, ElementsAre("reloadIfNeeded"));
}

TEST_F(HandlerTest, APageOfAnotherTabIsReloadedAsWell) {
  click();
  browser.tab->page = std::make_shared<RecordingPage>(browser.answers, "https://front.example/");
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(browser.page->messages, ElementsAre("reloadIfNeeded"));
  EXPECT_THAT(browser.tab->page->messages, IsEmpty());
}

TEST_F(HandlerTest, ALateAnswerAboutAnEarlierPageDoesNotNameThePageInFront) {
  const auto earlier = browser.page;
  handler().updateURLWith(*browser.window);
  machine.time.runOne();
  browser.answers.areHeldBack = true;
  machine.time.runOne();
  ASSERT_EQ(popover.page(), earlier);
  browser.answers.areHeldBack = false;
  browser.tab->page = std::make_shared<RecordingPage>(browser.answers, "https://front.example/");
  click();
  ASSERT_EQ(popover.currentURL()->host(), "front.example");
  browser.answers.postAll();
  settle();
  EXPECT_EQ(popover.currentURL()->host(), "front.example");
}

TEST_F(HandlerTest, TitlesAreSetAgainWhenTheURLArrivesAfterThePopoverHasOpened) {
  const auto rule =
      companion.perSiteRules().whitelistRuleForDomains({"www.example.com"}, std::nullopt, "");
  ASSERT_TRUE(companion.dataManager().addRule(*rule, "whitelist"));
  auto& controller = handler().popoverViewController();
  RecordingPopoverWindow window(controller.view());
  controller.viewWillAppear();
  EXPECT_EQ(popover.whitelistButton.title(), "✅ Add to Whitelist");
  settle();
  EXPECT_EQ(popover.whitelistButton.title(), "🚫 Remove from Whitelist");
}

TEST_F(HandlerTest, AHandlerThatHasEndedHearsNoSignalAndNoAnswer) {
  browser.answers.areHeldBack = true;
  static_cast<void>(handler().popoverViewController());
  handler().updateURLWith(*browser.window);
  handler_.reset();
  clearLogs();
  browser.answers.postAll();
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(machine.systemLog.take(), IsEmpty());
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

class PickedElement : public HandlerTest {
 protected:
  void receive(std::string_view name, const UserInfo& userInfo) {
    handler().messageReceivedWithName(name, browser.page, userInfo);
    settle();
  }
  void pick(const std::string& selector) {
    receive("hideSelector", PropertyListValue::Dictionary{{"sel", selector}});
  }
  void showPage(std::string_view url) {
    browser.page->properties = SFSafariPageProperties(NSURL::fromString(url));
  }
  std::vector<std::string> domainsOfOnlyRule() {
    const auto rules = rulesOnDisk(ConfigurablePackageType::HideElements);
    if (rules.size() != 1 || !rules[0].blocker.trigger.domainFilter) return {"no such rule"};
    return rules[0].blocker.trigger.domainFilter->values;
  }
  void expectNothingHappened() {
    EXPECT_THAT(rulesOnDisk(ConfigurablePackageType::HideElements), IsEmpty());
    EXPECT_THAT(machine.workspace.launches, IsEmpty());
    EXPECT_THAT(machine.standardOutput.take(), IsEmpty());
    EXPECT_EQ(handler().pageToReload(), nullptr);
  }
};

TEST_F(PickedElement, BecomesARuleForTheSiteAndItsSubdomains) {
  showPage("https://www.news.example.com/today");
  pick(".ad");
  const auto rules = rulesOnDisk(ConfigurablePackageType::HideElements);
  ASSERT_THAT(rules, SizeIs(1));
  EXPECT_EQ(rules[0].name, "Hide .ad");
  EXPECT_EQ(rules[0].blocker.action.type(), ActionType::Hide);
  EXPECT_EQ(rules[0].blocker.action.selector(), ".ad");
  EXPECT_EQ(rules[0].blocker.trigger.domainFilter,
            (DomainFilter{DomainFilterType::IfDomain, {"*news.example.com"}}));
}

TEST_F(PickedElement, IsSavedThenTheCompanionIsToldAndThenWoken) {
  std::size_t rulesAtLaunch = 0;
  std::optional<PropertyListValue> signalAtLaunch;
  machine.workspace.onLaunch = [&] {
    rulesAtLaunch = rulesOnDisk(ConfigurablePackageType::HideElements).size();
    signalAtLaunch = companion.defaults().object("reloadRulesFromDisk");
    EXPECT_EQ(handler().pageToReload(), browser.page);
  };
  pick(".ad");
  EXPECT_EQ(rulesAtLaunch, 1U);
  EXPECT_TRUE(signalAtLaunch);
  EXPECT_THAT(machine.workspace.launches, ElementsAre(hiddenLaunch));
}

TEST_F(PickedElement, OnAMachineWithoutAPackageForItStillTellsAndWakesTheCompanion) {
  ASSERT_TRUE(companion.store().writePackages(std::vector<Package>{{"whitelist", "Whitelist", {}}},
                                              PackageType::ConfigurablePackages));
  pick(".ad");
  EXPECT_THAT(rulesOnDisk(ConfigurablePackageType::HideElements), IsEmpty());
  EXPECT_TRUE(companion.defaults().object("reloadRulesFromDisk"));
  EXPECT_THAT(machine.workspace.launches, ElementsAre(hiddenLaunch));
  EXPECT_EQ(handler().pageToReload(), browser.page);
}

TEST_F(PickedElement, GoesIntoAPackageThatTheCompanionHasMadeMeanwhile) {
  ASSERT_TRUE(companion.store().writePackages(std::vector<Package>{{"whitelist", "Whitelist", {}}},
                                              PackageType::ConfigurablePackages));
  ASSERT_EQ(process.dataManager().configurablePackage(ConfigurablePackageType::HideElements),
            nullptr);
  ASSERT_TRUE(companion.store().writePackages(
      std::vector<Package>{{"whitelist", "Whitelist", {}}, {"hide-elements", "Hidden", {}}},
      PackageType::ConfigurablePackages));
  pick(".ad");
  EXPECT_THAT(rulesOnDisk(ConfigurablePackageType::HideElements), SizeIs(1));
}

TEST_F(PickedElement, HasThePageThatSentItReloaded) {
  click();
  const auto sender = std::make_shared<RecordingPage>(browser.answers, "https://a.example/");
  handler().messageReceivedWithName("hideSelector", sender,
                                    PropertyListValue::Dictionary{{"sel", ".ad"}});
  settle();
  EXPECT_EQ(handler().pageToReload(), sender);
  sendReloadTab();
  machine.time.advance(std::chrono::seconds(1));
  EXPECT_THAT(sender->messages, ElementsAre("reloadIfNeeded"));
  EXPECT_THAT(browser.page->messages, IsEmpty());
}

TEST_F(PickedElement, JoinsTheRulesThatTheCompanionHasWrittenMeanwhile) {
  EXPECT_THAT(process.dataManager().configurablePackages(), SizeIs(5));
  const auto theirs =
      companion.perSiteRules().hideElementRule(".theirs", std::nullopt, "theirs", "");
  ASSERT_TRUE(companion.dataManager().addRule(*theirs, "hide-elements"));
  pick(".mine");
  EXPECT_THAT(rulesOnDisk(ConfigurablePackageType::HideElements), SizeIs(2));
  EXPECT_THAT(
      process.dataManager().configurablePackage(ConfigurablePackageType::HideElements)->rules,
      SizeIs(2));
}

TEST_F(PickedElement, OnAHostWithoutThePrefixIsForThatHost) {
  showPage("https://news.example.com/");
  pick(".ad");
  EXPECT_THAT(domainsOfOnlyRule(), ElementsAre("*news.example.com"));
}

TEST_F(PickedElement, LosesEveryPrefixOfItsHostIfThereIsOneAtTheStart) {
  showPage("https://www.a.www.b.com/");
  pick(".ad");
  EXPECT_THAT(domainsOfOnlyRule(), ElementsAre("*a.b.com"));
}

TEST_F(PickedElement, KeepsAPrefixThatIsNotAtTheStartOfItsHost) {
  showPage("https://a.www.b.com/");
  pick(".ad");
  EXPECT_THAT(domainsOfOnlyRule(), ElementsAre("*a.www.b.com"));
}

TEST_F(PickedElement, IsForTheHostOfTheSendingPageAndNotOfThePageInFront) {
  click();
  const auto sender = std::make_shared<RecordingPage>(browser.answers, "https://sender.example/");
  handler().messageReceivedWithName("hideSelector", sender,
                                    PropertyListValue::Dictionary{{"sel", ".ad"}});
  settle();
  EXPECT_THAT(domainsOfOnlyRule(), ElementsAre("*sender.example"));
}

TEST_F(PickedElement, IsLoggedWithNameAndUserInfo) {
  pick(".ad");
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre(R"(Recieved hideSelector message with ["sel": ".ad"] params)"));
}

TEST_F(PickedElement, WithoutUserInfoDoesNothingBeyondTheLogLine) {
  receive("hideSelector", std::nullopt);
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre("Recieved hideSelector message with nil params"));
  expectNothingHappened();
}

TEST_F(PickedElement, WithoutASelectorDoesNothingBeyondTheLogLine) {
  receive("hideSelector", PropertyListValue::Dictionary{{"selector", ".ad"}});
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre(R"(Recieved hideSelector message with ["selector": ".ad"] params)"));
  expectNothingHappened();
}

TEST_F(PickedElement, WithANumberForASelectorDoesNothingBeyondTheLogLine) {
  receive("hideSelector", PropertyListValue::Dictionary{{"sel", std::int64_t{7}}});
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre(R"(Recieved hideSelector message with ["sel": 7] params)"));
  expectNothingHappened();
}

TEST_F(PickedElement, UnderAnotherNameIsIgnored) {
  for (const char* name : {"HideSelector", "hideSelector ", "hideselector", ""}) {
    receive(name, PropertyListValue::Dictionary{{"sel", ".ad"}});
  }
  EXPECT_THAT(machine.systemLog.take(), SizeIs(4));
  expectNothingHappened();
}

TEST_F(PickedElement, OfAPageWithoutPropertiesURLOrHostIsIgnored) {
  browser.page->properties.reset();
  pick(".ad");
  browser.page->properties = SFSafariPageProperties(std::nullopt);
  pick(".ad");
  showPage("file:///home/user/page.html");
  pick(".ad");
  EXPECT_THAT(machine.systemLog.take(), SizeIs(3));
  expectNothingHappened();
}

TEST_F(PickedElement, WithAnEmptySelectorIsRefusedInTheSystemLog) {
  pick("");
  EXPECT_THAT(
      machine.systemLog.take(),
      ElementsAre(R"(Recieved hideSelector message with ["sel": ""] params)",
                  R"(Orvane Error: Incorrect selector  or domain filter ["*example.com"])"));
  expectNothingHappened();
}

TEST_F(PickedElement, OnAHostThatIsNoDomainIsRefusedInTheSystemLog) {
  showPage("http://[::1]/");
  pick(".ad");
  EXPECT_THAT(machine.systemLog.take(),
              ElementsAre(R"(Recieved hideSelector message with ["sel": ".ad"] params)",
                          R"(Orvane Error: Incorrect selector .ad or domain filter ["*::1"])"));
  expectNothingHappened();
}

TEST_F(PickedElement, WithAnySelectorTextIsKeptAsItIs) {
  const std::string strange = std::string("[title=\"a\nb\"]\0'\\", 16) + "größe";
  const std::string huge(100'000, 'x');
  pick(strange);
  pick(huge);
  const auto rules = rulesOnDisk(ConfigurablePackageType::HideElements);
  ASSERT_THAT(rules, SizeIs(2));
  EXPECT_EQ(rules[0].blocker.action.selector(), strange);
  EXPECT_EQ(rules[1].blocker.action.selector(), huge);
}

TEST_F(PickedElement, IsReceivedOnOneShortLineOfTheLogWhateverItIs) {
  pick("a\nb" + std::string(100'000, 'x'));
  const auto lines = machine.systemLog.take();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0].find('\n'), std::string::npos);
  EXPECT_LT(lines[0].size(), 1000U);
}

TEST_F(PickedElement, BecomesNoRuleWhenTheHandlerHasEnded) {
  browser.answers.areHeldBack = true;
  pick(".ad");
  handler_.reset();
  browser.answers.postAll();
  settle();
  EXPECT_THAT(rulesOnDisk(ConfigurablePackageType::HideElements), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
