#include "SafariExtension/Extension/FeedbackMail.h"
#include "Tests/SafariExtension/Extension/ExtensionFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const NSError offline{"test", 7, "The network is down"};

class ReportPanel : public ExtensionTest {
 protected:
  ReportPanel() {
    popover.setCurrentURL(NSURL::fromString("https://www.example.com/news"));
    popover.leaveFeedback();
    popover.reportComments.setString("The page stays white");
  }
  void send() { popover.sendReport(popover.sendButton); }

  RecordingPopoverWindow window{popover.view()};
};

TEST_F(ReportPanel, TakesThePlaceOfTheMainPanelAndGivesItBack) {
  EXPECT_TRUE(popover.mainPanel.isHidden());
  EXPECT_FALSE(popover.reportPanel.isHidden());
  popover.switchStackViews();
  EXPECT_FALSE(popover.mainPanel.isHidden());
  EXPECT_TRUE(popover.reportPanel.isHidden());
}

TEST_F(ReportPanel, AsksWhatHappened) {
  EXPECT_EQ(popover.reportStatus.stringValue(), "Describe what happened:");
}

TEST_F(ReportPanel, ReportsThePageTheCommentAndTheMachine) {
  send();
  ASSERT_THAT(reports, SizeIs(1));
  EXPECT_EQ(reports[0], (Report{.type = ReportType::brokenSite,
                                .url = *NSURL::fromString("https://www.example.com/news"),
                                .comment = "The page stays white",
                                .device = "Mac harbour",
                                .appVersion = "3.1 (1024)",
                                .osVersion = "macOS 12.0.7"}));
}

TEST_F(ReportPanel, ReportsTheReasonAtTheSelectedIndex) {
  for (int i = 0; i < 4; ++i) {
    popover.reportReasonSelector.selectItemAtIndex(i);
    send();
  }
  ASSERT_THAT(reports, SizeIs(4));
  EXPECT_EQ(reports[0].type, ReportType::brokenSite);
  EXPECT_EQ(reports[1].type, ReportType::somethingNotBlocked);
  EXPECT_EQ(reports[2].type, ReportType::emptySpace);
  EXPECT_EQ(reports[3].type, ReportType::otherProblem);
}

TEST_F(ReportPanel, ReportsTheWebSiteOfTheProductWhenThereIsNoPage) {
  popover.setCurrentURL(std::nullopt);
  send();
  EXPECT_EQ(reports.at(0).url.absoluteString(), "https://orvane.example/");
}

TEST_F(ReportPanel, CannotBeSentTwiceAtATime) {
  send();
  EXPECT_FALSE(popover.sendButton.isEnabled());
  EXPECT_EQ(popover.reportStatus.stringValue(), "Sending...");
}

TEST_F(ReportPanel, ThanksForAReportAndClosesTwoSecondsLater) {
  send();
  answerReport(true, std::nullopt);
  EXPECT_EQ(popover.reportStatus.stringValue(), "Thank you for feedback!");
  EXPECT_EQ(popover.reportComments.string(), "");
  machine.time.advance(std::chrono::milliseconds(1999));
  EXPECT_FALSE(popover.sendButton.isEnabled());
  EXPECT_EQ(popover.reportStatus.stringValue(), "Thank you for feedback!");
  EXPECT_FALSE(popover.reportPanel.isHidden());
  EXPECT_FALSE(window.isClosed);
  machine.time.advance(std::chrono::milliseconds(1));
  EXPECT_TRUE(popover.sendButton.isEnabled());
  EXPECT_EQ(popover.reportStatus.stringValue(), "Describe what happened:");
  EXPECT_FALSE(popover.mainPanel.isHidden());
  EXPECT_TRUE(popover.reportPanel.isHidden());
  EXPECT_TRUE(window.isClosed);
}

TEST_F(ReportPanel, StaysInTheMainPanelWhenTheUserHasGoneBackBeforeTheThanksEnd) {
  send();
  answerReport(true, std::nullopt);
  popover.switchStackViews();
  machine.time.advance(std::chrono::seconds(2));
  EXPECT_FALSE(popover.mainPanel.isHidden());
  EXPECT_TRUE(popover.reportPanel.isHidden());
}

TEST_F(ReportPanel, KeepsTheCommentAndSaysWhyWhenAReportFails) {
  send();
  answerReport(false, offline);
  EXPECT_EQ(popover.reportStatus.stringValue(), "The network is down");
  EXPECT_EQ(popover.reportComments.string(), "The page stays white");
  EXPECT_TRUE(popover.sendButton.isEnabled());
  machine.time.advance(std::chrono::seconds(3));
  EXPECT_FALSE(popover.reportPanel.isHidden());
  EXPECT_FALSE(window.isClosed);
  EXPECT_EQ(popover.reportStatus.stringValue(), "The network is down");
}

TEST_F(ReportPanel, CanBeSentAgainAfterAFailure) {
  send();
  answerReport(false, offline);
  send();
  EXPECT_THAT(reports, SizeIs(2));
  EXPECT_EQ(popover.reportStatus.stringValue(), "Sending...");
}

TEST(EndedPopover, HearsOfNothingAnyMore) {
  TestPlatform machine;
  RecordingExtensionHost browser(*machine.mainQueue, "https://www.example.com/");
  ReportCompletion answerReport;
  Process process(machine.platform);
  auto popover = std::make_unique<SafariExtensionViewController>(
      machine.platform, browser.host, process.store(), process.defaults(), process.dataManager(),
      process.perSiteRules(), [&](const Report& /*report*/, ReportCompletion completion) {
        answerReport = std::move(completion);
      });
  popover->sendReport(popover->sendButton);
  answerReport(true, std::nullopt);
  popover->sendEmailAction();
  popover.reset();
  answerReport(true, std::nullopt);
  EXPECT_TRUE(browser.alerts.dismissOne());
  machine.time.advance(std::chrono::seconds(2));
  EXPECT_THAT(machine.workspace.openedURLs, IsEmpty());
}

class Feedback : public ReportPanel {};

TEST_F(Feedback, IsWelcomedByAnAlertBeforeTheLetterOpens) {
  popover.sendEmailAction();
  ASSERT_THAT(browser.alerts.alerts, SizeIs(1));
  EXPECT_EQ(browser.alerts.alerts[0],
            (NSAlert{.alertStyle = NSAlertStyle::informational,
                     .messageText = "Feedback is Welcome",
                     .informativeText =
                         "Orvane is developed by two indies, we read all emails we get, but we "
                         "can't respond to everyone.\nThanks for understanding.",
                     .icon = "friends",
                     .buttonTitles = {"OK, I understand 💜"}}));
  EXPECT_EQ(static_cast<int>(browser.alerts.alerts[0].alertStyle), 1);
  EXPECT_THAT(machine.workspace.openedURLs, IsEmpty());
  EXPECT_TRUE(browser.alerts.dismissOne());
  EXPECT_THAT(machine.workspace.openedURLs, SizeIs(1));
}

TEST_F(Feedback, OpensALetterAboutThePage) {
  popover.contactViaEmail();
  EXPECT_THAT(machine.workspace.openedURLs,
              ElementsAre("mailto:support@orvane.example?Subject=Feedback%20on%20www.example.com"
                          "&body=%0A%0AOrvane%20v3.1%20(1024).%0AFull%20URL:%20"
                          "https://www.example.com/news"));
}

TEST_F(Feedback, IsOnTheProductWhereThePageHasNoHost) {
  popover.setCurrentURL(NSURL::fromString("about:blank"));
  popover.contactViaEmail();
  EXPECT_THAT(machine.workspace.openedURLs,
              ElementsAre("mailto:support@orvane.example?Subject=Feedback%20on%20Orvane"
                          "&body=%0A%0AOrvane%20v3.1%20(1024).%0AFull%20URL:%20about:blank"));
}

TEST_F(Feedback, NamesNoURLWhereThereIsNone) {
  popover.setCurrentURL(std::nullopt);
  popover.contactViaEmail();
  EXPECT_THAT(machine.workspace.openedURLs,
              ElementsAre("mailto:support@orvane.example?Subject=Feedback%20on%20Orvane"
                          "&body=%0A%0AOrvane%20v3.1%20(1024)."));
}

TEST_F(Feedback, NamesThePlatformWhereTheBundleDoesNotSayItsVersion) {
  using Dictionary = PropertyListValue::Dictionary;
  const std::vector<NSBundle::InfoDictionary> dictionaries{
      std::nullopt, Dictionary{{"CFBundleVersion", "7"}},
      Dictionary{{"CFBundleShortVersionString", "3.1"}, {"CFBundleVersion", std::int64_t{7}}}};
  for (const auto& dictionary : dictionaries) {
    const NSBundle bundle(machine.fileManager, TestPlatform::bundle, dictionary);
    EXPECT_EQ(feedbackMailLink(std::nullopt, bundle),
              "mailto:support@orvane.example?Subject=Feedback%20on%20Orvane"
              "&body=%0A%0AOrvane%20for%20Mac.");
  }
}

TEST_F(Feedback, IsALetterWithoutContentWhereTheContentIsNoText) {
  const NSBundle bundle(machine.fileManager, TestPlatform::bundle,
                        PropertyListValue::Dictionary{{"CFBundleShortVersionString", "\xff"},
                                                      {"CFBundleVersion", "1"}});
  EXPECT_EQ(feedbackMailLink(std::nullopt, bundle), "mailto:support@orvane.example");
}

}  // namespace
}  // namespace orvane::test
