#include <cmath>

#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

class FindBar : public BrowserTest {
 protected:
  void find(const std::string& text) {
    press("ctrl+f");
    ASSERT_TRUE(becomes([&] { return front().findBar().isOpen(); }));
    type(text);
  }
  bool says(const std::string& result) {
    return becomes([&] { return front().findBar().result() == result; });
  }
  std::string selection() { return value(front(), "getSelection().anchorNode?.parentNode.id"); }
};

TEST_F(FindBar, countsTheMatches) {
  serve("news.test", "/", "<p>A ferry, the Ferry and no boat.");
  startAt("http://news.test/");
  find("ferry");
  EXPECT_TRUE(says("2 matches"));
  ASSERT_TRUE(becomes(
      [&] { return value(front(), "getSelection().toString().toLowerCase()") == "ferry"; }));
  settle();
  press("ctrl+f");
  type("boat");
  EXPECT_TRUE(says("1 match")) << "the new text takes the place of the old one";
}

TEST_F(FindBar, saysThatThereIsNothing) {
  serve("news.test", "/", "<p>A ferry.");
  startAt("http://news.test/");
  find("tram");
  EXPECT_TRUE(says("No matches"));
  EXPECT_TRUE(front().findBar().entry().has_css_class("error"));
}

TEST_F(FindBar, goesFromMatchToMatchAndBack) {
  serve("news.test", "/", "<p id=first>ferry<p id=second>ferry<p id=third>ferry");
  startAt("http://news.test/");
  find("ferry");
  ASSERT_TRUE(says("3 matches"));
  const auto isAt = [&](const std::string& id) {
    return becomes([&] { return selection() == id; });
  };
  EXPECT_TRUE(isAt("first"));
  press("Return");
  EXPECT_TRUE(isAt("second"));
  press("Return");
  EXPECT_TRUE(isAt("third"));
  press("shift+Return");
  EXPECT_TRUE(isAt("second"));
}

TEST_F(FindBar, looksAgainForWhatItLookedForBefore) {
  serve("news.test", "/", "<p>A ferry.");
  startAt("http://news.test/");
  find("ferry");
  ASSERT_TRUE(says("1 match"));
  press("Escape");
  ASSERT_TRUE(becomes([&] { return !front().findBar().isOpen(); }));
  press("ctrl+f");
  EXPECT_TRUE(says(""));
  press("Return");
  EXPECT_TRUE(says("1 match"));
}

TEST_F(FindBar, closesWithEscapeAndGivesThePageTheKeyboard) {
  serve("news.test", "/", "<p>A ferry.");
  startAt("http://news.test/");
  find("ferry");
  press("Escape");
  EXPECT_TRUE(becomes([&] { return !front().findBar().isOpen(); }));
  EXPECT_EQ(window().window().get_focus()->gobj(), GTK_WIDGET(front().view()));
}

class Zoom : public BrowserTest {
 protected:
  bool becomesZoomedTo(double level) {
    return becomes(
        [&] { return std::abs(webkit_web_view_get_zoom_level(front().view()) - level) < 0.001; });
  }
};

TEST_F(Zoom, changesByKeysForOneTab) {
  start();
  press("ctrl+plus");
  EXPECT_TRUE(becomesZoomedTo(1.1));
  press("ctrl+plus");
  EXPECT_TRUE(becomesZoomedTo(1.21));
  press("ctrl+minus");
  EXPECT_TRUE(becomesZoomedTo(1.1));
  window().openEmptyTab();
  EXPECT_TRUE(becomesZoomedTo(1));
  press("ctrl+1");
  EXPECT_TRUE(becomesZoomedTo(1.1));
  press("ctrl+0");
  EXPECT_TRUE(becomesZoomedTo(1));
}

TEST_F(Zoom, hasLimits) {
  start();
  for (int count = 0; count < 50; ++count) front().zoomIn();
  EXPECT_TRUE(becomesZoomedTo(5));
  for (int count = 0; count < 50; ++count) front().zoomOut();
  EXPECT_TRUE(becomesZoomedTo(0.3));
}

}  // namespace
}  // namespace orvane::test
