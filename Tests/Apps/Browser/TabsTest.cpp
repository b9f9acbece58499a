#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

class Tabs : public BrowserTest {
 protected:
  bool becomesFront(Tab& tab) {
    return becomes([&] { return tabs().front() == &tab; });
  }
};

TEST_F(Tabs, openAndCloseByKeys) {
  start();
  press("ctrl+t");
  ASSERT_TRUE(becomes([&] { return tabs().size() == 2; }));
  EXPECT_EQ(tabs().front(), tabs().at(1));
  press("ctrl+w");
  ASSERT_TRUE(becomes([&] { return tabs().size() == 1; }));
  EXPECT_EQ(tabs().front(), tabs().at(0));
}

TEST_F(Tabs, switchByKeys) {
  start();
  window().openEmptyTab();
  window().openEmptyTab();
  ASSERT_EQ(tabs().size(), 3U);
  press("ctrl+Tab");
  EXPECT_TRUE(becomesFront(*tabs().at(0))) << "the first is right of the last";
  press("ctrl+shift+Tab");
  EXPECT_TRUE(becomesFront(*tabs().at(2)));
  press("ctrl+2");
  EXPECT_TRUE(becomesFront(*tabs().at(1)));
  press("ctrl+9");
  press("ctrl+1");
  EXPECT_TRUE(becomesFront(*tabs().at(0)));
}

TEST_F(Tabs, lastOneClosesTheBrowser) {
  start();
  press("ctrl+w");
  EXPECT_TRUE(becomes([&] { return isClosed_; }));
}

TEST_F(Tabs, showTitlesAndAddressesOfTheirPages) {
  serve("news.test", "/", "<title>Harbour News</title>");
  auto& tab = startAt("http://news.test/");
  EXPECT_TRUE(becomes([&] { return window().window().get_title() == "Harbour News"; }));
  EXPECT_EQ(window().address().get_text(), "http://news.test/");
  window().openEmptyTab();
  EXPECT_EQ(window().address().get_text(), "");
  EXPECT_EQ(window().window().get_title(), "New Tab");
  tabs().bringToFront(tab);
  EXPECT_EQ(window().address().get_text(), "http://news.test/");
}

TEST_F(Tabs, goBackAndForwardByKeys) {
  serve("news.test", "/", "<title>First</title>");
  serve("news.test", "/second", "<title>Second</title>");
  auto& tab = startAt("http://news.test/");
  tab.open("http://news.test/second");
  ASSERT_TRUE(becomes([&] { return isLoaded(tab, "http://news.test/second"); }));
  press("alt+Left");
  EXPECT_TRUE(becomes([&] { return isLoaded(tab, "http://news.test/"); }));
  press("alt+Right");
  EXPECT_TRUE(becomes([&] { return isLoaded(tab, "http://news.test/second"); }));
}

TEST_F(Tabs, openForWindowsThatPagesOpen) {
  serve("news.test", "/", "<p>News");
  serve("news.test", "/extra", "<script>document.title = opener.document.URL</script>");
  auto& opener = startAt("http://news.test/");
  value(opener, "void open('/extra')");
  ASSERT_TRUE(becomes([&] { return tabs().size() == 2; }));
  EXPECT_NE(tabs().front(), &opener);
  EXPECT_TRUE(becomes([&] { return front().title() == "http://news.test/"; }))
      << "the pages know of each other";
  value(front(), "void close()");
  EXPECT_TRUE(becomes([&] { return tabs().size() == 1; }));
  EXPECT_EQ(tabs().front(), &opener);
}

TEST_F(Tabs, openForLinksToANewWindow) {
  serve("news.test", "/", "<a id=link href=/extra target=_blank>Extra</a>");
  serve("news.test", "/extra", "<title>Extra</title>");
  auto& tab = startAt("http://news.test/");
  value(tab, "void link.click()");
  ASSERT_TRUE(becomes([&] { return tabs().size() == 2; }));
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/extra"); }));
}

TEST_F(Tabs, openForLinksThatArePressedWithControl) {
  serve("news.test", "/", "<a href=/extra style='position:fixed;inset:0'>Extra</a>");
  serve("news.test", "/extra", "<title>Extra</title>");
  startAt("http://news.test/");
  input({"mousemove", "400", "400", "keydown", "ctrl", "click", "1", "keyup", "ctrl"});
  ASSERT_TRUE(becomes([&] { return tabs().size() == 2; }));
  EXPECT_TRUE(becomes([&] { return isLoaded(front(), "http://news.test/extra"); }));
  EXPECT_EQ(tabs().at(0)->url(), "http://news.test/");
}

TEST_F(Tabs, leaveLinksToOtherProgramsToThemOnceTheUserAgrees) {
  serve("news.test", "/",
        "<a href='mailto:mia@news.test' style='position:fixed;inset:0'>Write</a>");
  auto& tab = startAt("http://news.test/");
  input({"mousemove", "400", "400", "click", "1"});
  ASSERT_TRUE(becomes([&] { return !window().message().message().empty(); }));
  EXPECT_EQ(window().message().message(),
            "The page wants to open “mailto:mia@news.test” in another program.");
  EXPECT_TRUE(workspace_.openedURLs.empty());
  gtk_widget_activate(GTK_WIDGET(window().message().answer().gobj()));
  ASSERT_TRUE(becomes([&] { return !workspace_.openedURLs.empty(); }));
  EXPECT_EQ(window().message().message(), "");
  EXPECT_EQ(workspace_.openedURLs, std::vector<std::string>{"mailto:mia@news.test"});
  EXPECT_EQ(tab.url(), "http://news.test/");
}

TEST_F(Tabs, startNoOtherProgramUnlessTheUserWantsIt) {
  serve("news.test", "/",
        "<script>location = 'mailto:mia@news.test'; setTimeout(() => document.title = 'Still "
        "here')</script>");
  startAt("http://news.test/");
  EXPECT_TRUE(becomes([&] { return front().title() == "Still here"; }));
  EXPECT_TRUE(workspace_.openedURLs.empty());
}

TEST_F(Tabs, stopToLoadOnEscapeWhenThePageHasNoUseForIt) {
  serve("news.test", "/", "<img src=/slow.png>");
  holdBack("news.test", "/slow.png");
  start({"http://news.test/"});
  ASSERT_TRUE(becomes([&] { return front().documentURL() == "http://news.test/"; }));
  value(front(),
        "addEventListener('keydown', (event) => { if (!window.isDone) event.preventDefault(); "
        "window.isDone = true; })");
  press("Escape");
  ASSERT_TRUE(becomes([&] { return value(front(), "window.isDone") == "true"; }));
  EXPECT_TRUE(front().isLoading());
  press("Escape");
  EXPECT_TRUE(becomes([&] { return !front().isLoading(); }));
}

TEST_F(Tabs, sayWhoFillsTheScreen) {
  serve("news.test", "/",
        "<p onclick='this.requestFullscreen()' style='position:fixed;inset:0'>Film");
  startAt("http://news.test/");
  input({"mousemove", "400", "400", "click", "1"});
  ASSERT_TRUE(becomes([&] { return window().message().get_mapped(); }));
  EXPECT_EQ(window().message().message(), "news.test fills the screen. Escape ends it.");
}

TEST_F(Tabs, keepTheirPlaceBelowALongMessage) {
  start();
  const auto height = [&] { return front().widget().get_height(); };
  ASSERT_TRUE(becomes([&] { return height() > 0; }));
  const auto before = height();
  window().message().show(std::string(20'000, 'x'));
  ASSERT_TRUE(becomes([&] { return height() != before; }));
  EXPECT_GT(height(), before * 3 / 4);
}

}  // namespace
}  // namespace orvane::test
