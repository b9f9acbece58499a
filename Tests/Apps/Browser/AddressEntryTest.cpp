#include <gmock/gmock.h>

#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;

class AddressEntry : public BrowserTest {};

TEST_F(AddressEntry, hasTheKeyboardInAnEmptyTabAndOpensWhatIsTyped) {
  serve("news.test", "/", "<title>News</title>");
  start();
  type("http://news.test/");
  press("Return");
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/"); }));
}

TEST_F(AddressEntry, opensHostsThroughHTTPS) {
  serve("news.test", "/", "<title>News</title>");
  start();
  type("news.test");
  press("Return");
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "https://news.test/"); }));
}

TEST_F(AddressEntry, saysWhatIsNoAddress) {
  start();
  type("what is a ferry?");
  press("Return");
  EXPECT_TRUE(becomes([&] { return !window().message().message().empty(); }));
  EXPECT_THAT(window().message().message(), HasSubstr("“what is a ferry?” is not an address."));
  EXPECT_EQ(front().url(), "");
  EXPECT_TRUE(proxy_->log().empty());
}

TEST_F(AddressEntry, selectsEverythingWhenTheKeyboardComes) {
  serve("news.test", "/", "<title>News</title>");
  startAt("http://news.test/");
  press("ctrl+l");
  const auto isAllSelected = [&] {
    int start = 0;
    int end = 0;
    return window().address().get_selection_bounds(start, end) && start == 0 &&
           end == static_cast<int>(window().address().get_text().size());
  };
  EXPECT_TRUE(becomes(isAllSelected));
}

TEST_F(AddressEntry, keepsWhatIsBeingTypedAndEscapeBringsTheURLBack) {
  serve("news.test", "/", "<title>News</title>");
  serve("news.test", "/later", "<title>Later</title>");
  auto& tab = startAt("http://news.test/");
  press("ctrl+l");
  type("half a w");
  ASSERT_TRUE(becomes([&] { return window().address().get_text() == "half a w"; }));
  value(tab, "location = '/later'");
  ASSERT_TRUE(becomes([&] { return isLoaded(tab, "http://news.test/later"); }));
  EXPECT_EQ(window().address().get_text(), "half a w");
  press("Escape");
  EXPECT_TRUE(becomes([&] { return window().address().get_text() == "http://news.test/later"; }));
}

TEST_F(AddressEntry, tellsWhereThePageIsWhateverItAsksFor) {
  serve("news.test", "/", "<title>News</title>");
  holdBack("bank.test", "/");
  auto& tab = startAt("http://news.test/");
  value(tab, "location = 'http://bank.test/'");
  const auto isAskedFor = [&] { return proxy_->log().back().host == "bank.test"; };
  ASSERT_TRUE(becomes(isAskedFor));
  settle();
  EXPECT_EQ(window().address().get_text(), "http://news.test/");
}

TEST_F(AddressEntry, hasNoPadlockBesideWhatIsTyped) {
  serve("news.test", "/", "<title>News</title>");
  startAt("http://news.test/");
  ASSERT_EQ(window().address().get_icon_name(), "channel-insecure-symbolic");
  press("ctrl+l");
  type("b");
  EXPECT_TRUE(becomes([&] { return window().address().get_icon_name().empty(); }));
  press("Escape");
  EXPECT_TRUE(
      becomes([&] { return window().address().get_icon_name() == "channel-insecure-symbolic"; }));
}

TEST_F(AddressEntry, hasEscapeForItselfWhileAPageLoads) {
  serve("news.test", "/", "<img src=/slow.png>");
  holdBack("news.test", "/slow.png");
  start({"http://news.test/"});
  ASSERT_TRUE(becomes([&] { return front().documentURL() == "http://news.test/"; }));
  press("ctrl+l");
  type("b");
  ASSERT_TRUE(becomes([&] { return window().address().get_text() == "b"; }));
  press("Escape");
  EXPECT_TRUE(becomes([&] { return window().address().get_text() == "http://news.test/"; }));
  EXPECT_TRUE(front().isLoading());
}

}  // namespace
}  // namespace orvane::test
