#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/EndToEnd/Browsing/Desk.h"

namespace orvane::test {
namespace {

using ::testing::SizeIs;

constexpr const char* isBannerGone =
    "getComputedStyle(document.getElementById('house-banner')).display === 'none'";

/// A user who does not like a banner.
class Picking : public ::testing::Test {
 protected:
  Picking() {
    desk.serveNewspaper("www.news.example.com");
    desk.serveNewspaper("other.example");
    desk.startBrowser();
    desk.waitForList();
    desk.open("http://www.news.example.com/");
  }

  Desk desk;
};

TEST_F(Picking, HidesTheElementOnThatSiteForGood) {
  EXPECT_FALSE(desk.isTrueOnPage(isBannerGone));
  desk.openPopover();
  desk.press("👁 Hide an Element");
  desk.until("the popover has closed", [this] { return !desk.isPopoverOpen(); });
  desk.waitForPicker();
  desk.forgetRequests();
  desk.pickOnPage("document.getElementById('house-banner')");
  desk.until("the page is loaded again",
             [this] { return desk.requests("www.news.example.com", "/") > 0; });
  EXPECT_TRUE(desk.becomesOnPage(isBannerGone));

  desk.open("http://other.example/");
  EXPECT_FALSE(desk.isTrueOnPage(isBannerGone));

  desk.endBrowser();
  desk.endCompanion(SIGTERM);
  desk.startBrowser();
  desk.waitForList();
  desk.open("http://www.news.example.com/");
  EXPECT_TRUE(desk.becomesOnPage(isBannerGone));
}

TEST_F(Picking, StartsFromTheContextMenuOfThePageToo) {
  desk.chooseHideElementFromContextMenu();
  desk.waitForPicker();
  desk.pickOnPage("document.getElementById('house-banner')");
  EXPECT_TRUE(desk.becomesOnPage(isBannerGone));
}

TEST_F(Picking, LeavesEverythingAsItIsOnEscape) {
  desk.openPopover();
  desk.press("👁 Hide an Element");
  desk.waitForPicker();
  desk.forgetRequests();
  desk.pressKeys("Escape");
  desk.waitForNoPicker();
  EXPECT_FALSE(desk.isTrueOnPage(isBannerGone));
  EXPECT_THAT(desk.rules(ConfigurablePackageType::HideElements), SizeIs(0));
}

}  // namespace
}  // namespace orvane::test
