#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/EndToEnd/Browsing/Desk.h"

namespace orvane::test {
namespace {

/// A user who reads a newspaper.
class Reading : public ::testing::Test {
 protected:
  Reading() {
    desk.serveNewspaper("news.example.com");
    desk.startBrowser();
    desk.waitForList();
    desk.open("http://news.example.com/");
  }
  /// Presses a button of the popover and waits until the page has been loaded again.
  void pressAndWaitForReload(const std::string& button) {
    desk.openPopover();
    desk.forgetRequests();
    desk.press(button);
    desk.until("the page is loaded again",
               [this] { return desk.requests("news.example.com", "/") > 0; });
    desk.until("the popover has closed", [this] { return !desk.isPopoverOpen(); });
  }
  bool reloadShowsAdvert() {
    desk.forgetRequests();
    desk.browser().window().tabs().front()->reload();
    return desk.showsAdvert();
  }
  std::string badge() { return desk.browser().window().toolbarItem().badge(); }

  Desk desk;
};

TEST_F(Reading, SeesTheAdvertsOfASiteOnTheWhitelistAndNoneOfThemAfterwards) {
  EXPECT_FALSE(desk.showsAdvert());
  pressAndWaitForReload("✅ Add to Whitelist");
  EXPECT_TRUE(desk.showsAdvert());
  pressAndWaitForReload("🚫 Remove from Whitelist");
  EXPECT_FALSE(desk.showsAdvert());
  desk.openPopover();
  EXPECT_TRUE(desk.hasButton("✅ Add to Whitelist"));
}

TEST_F(Reading, GetsASiteByHttpsOnlyUntilThatIsTakenBack) {
  const auto scheme = [this] { return desk.valueOnPage("location.protocol"); };
  EXPECT_EQ(scheme(), "\"http:\"");
  pressAndWaitForReload("🔒 Make HTTPS-only");
  EXPECT_TRUE(desk.becomesOnPage("location.protocol === 'https:'"));
  pressAndWaitForReload("🔓 Disable HTTPS-only");
  desk.open("http://news.example.com/");
  EXPECT_TRUE(desk.becomesOnPage("location.protocol === 'http:'"));
}

TEST_F(Reading, BlocksNothingWhilePausedAndSaysSoOnTheButton) {
  EXPECT_EQ(badge(), "");
  pressAndWaitForReload("⏸ Pause Blocking");
  EXPECT_EQ(badge(), "OFF");
  EXPECT_TRUE(desk.showsAdvert());
  pressAndWaitForReload("⚠️ Resume Blocking");
  EXPECT_EQ(badge(), "");
  EXPECT_FALSE(desk.showsAdvert());
}

TEST_F(Reading, WhitelistsASiteWhileTheCompanionDoesNotRun) {
  EXPECT_FALSE(desk.showsAdvert());
  desk.endCompanion(SIGTERM);
  pressAndWaitForReload("✅ Add to Whitelist");
  EXPECT_TRUE(desk.showsAdvert());
}

TEST_F(Reading, LosesNothingWhenTheCompanionIsKilledInTheMiddle) {
  desk.endCompanion(SIGTERM);
  desk.openPopover();
  desk.press("✅ Add to Whitelist");
  desk.until("the rule is kept", [this] { return desk.hasButton("🚫 Remove from Whitelist"); });
  desk.endCompanion(SIGKILL);
  desk.forgetRequests();
  // The next change starts the companion again, which finds the rule.
  desk.press("🔒 Make HTTPS-only");
  desk.until("the page is loaded again",
             [this] { return desk.requests("news.example.com", "/") > 0; });
  EXPECT_TRUE(desk.showsAdvert());
}

TEST_F(Reading, ReloadsThePageOnceWhenTheCompanionIsStartedTwice) {
  desk.startAnotherCompanion();
  pressAndWaitForReload("✅ Add to Whitelist");
  EXPECT_TRUE(desk.showsAdvert());
  EXPECT_EQ(desk.companions().size(), 1U);
  EXPECT_EQ(desk.requests("news.example.com", "/"), 1);
}

TEST_F(Reading, SeesEveryAdvertWhileTheContentBlockerIsOffInTheSettings) {
  EXPECT_FALSE(desk.showsAdvert());
  desk.switchContentBlocker();
  desk.until("the list has gone",
             [this] { return !desk.browser().contentBlocking().facts().isListInForce; });
  EXPECT_TRUE(reloadShowsAdvert());
  desk.switchContentBlocker();
  desk.waitForList();
  EXPECT_FALSE(reloadShowsAdvert());
}

}  // namespace
}  // namespace orvane::test
