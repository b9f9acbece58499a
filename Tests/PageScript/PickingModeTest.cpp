#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* news = R"html(<!doctype html><meta charset=utf-8><style>
  body { margin: 0 }
  #story { position: absolute; left: 100px; top: 100px; width: 400px; height: 300px }
  #lead { position: absolute; margin: 0; left: 50px; top: 50px; width: 200px; height: 100px }
  .ad-slot { position: absolute; left: 600px; width: 200px; height: 80px }
</style>
<div id=story><p id=lead>Lead</p></div>
<div class=ad-slot style="top: 100px"></div>
<div class=ad-slot style="top: 300px"></div>
<div class=ad-slot style="top: 500px"></div>)html";

class PickingMode : public ::testing::Test {
 protected:
  ScriptedView view;
};

TEST_F(PickingMode, isOffUntilItIsAskedFor) {
  view.show(news);
  view.script().dispatch(view.view(), "page", "somethingElse");
  view.settle();
  EXPECT_FALSE(view.isPicking());
}

TEST_F(PickingMode, showsTheSelectorTheCountAndABoxOverEachElementThatWouldGo) {
  view.show(news);
  view.startPicking();
  EXPECT_EQ(view.shownCount(), "Point at what is to be hidden");
  view.hover("document.querySelector('#lead')");
  EXPECT_EQ(view.shownSelector(), "#lead");
  EXPECT_EQ(view.shownCount(), "1 element");
  EXPECT_THAT(view.boxes(), ElementsAre("150,150,200,100!"));
  view.hover("document.querySelectorAll('.ad-slot')[1]");
  EXPECT_EQ(view.shownSelector(), ".ad-slot");
  EXPECT_EQ(view.shownCount(), "3 elements");
  EXPECT_THAT(view.boxes(), ElementsAre("600,100,200,80", "600,300,200,80!", "600,500,200,80"));
}

TEST_F(PickingMode, offersNeitherTheBodyNorTheRoot) {
  view.show(news);
  view.startPicking();
  view.hoverAt(900, 700);
  EXPECT_EQ(view.shownSelector(), "");
  EXPECT_THAT(view.boxes(), IsEmpty());
  view.press("Return");
  view.click();
  view.settle();
  EXPECT_TRUE(view.isPicking());
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(PickingMode, arrowsWidenBelowTheBodyAndNarrowBackToThePointer) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.press("Up");
  const auto selector = "test.overlay.querySelector('.selector').textContent";
  const auto becomes = [&](const std::string& text) {
    return view.becomes(std::string(selector) + " === '" + text + "'", World::Script);
  };
  EXPECT_TRUE(becomes("#story"));
  view.press("Up");
  view.settle();
  EXPECT_EQ(view.shownSelector(), "#story");
  view.press("Down");
  EXPECT_TRUE(becomes("#lead"));
  view.press("Down");
  view.settle();
  EXPECT_EQ(view.shownSelector(), "#lead");
}

TEST_F(PickingMode, moveWithinAnElementKeepsWhatWasWidened) {
  view.show(news);
  view.startPicking();
  view.hoverAt(160, 160);
  view.press("Up");
  view.hoverAt(170, 170);
  EXPECT_EQ(view.shownSelector(), "#story");
  view.hoverAt(650, 130);
  EXPECT_EQ(view.shownSelector(), ".ad-slot");
}

TEST_F(PickingMode, clickPicksAndEndsTheMode) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].page, "page");
  EXPECT_EQ(view.messages()[0].name, "hideSelector");
  EXPECT_EQ(view.messages()[0].userInfo, (PropertyListValue::Dictionary{{"sel", "#lead"}}));
  EXPECT_TRUE(view.ends());
}

TEST_F(PickingMode, clickRightAfterAMovementPicksWhatIsThere) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('.ad-slot')");
  view.input({"mousemove", "200", "200", "click", "1"});
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), "#lead");
}

TEST_F(PickingMode, enterPicksAndEndsTheMode) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.press("Up");
  view.press("Return");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), "#story");
  EXPECT_TRUE(view.ends());
}

TEST_F(PickingMode, escapeLeavesWithoutAWord) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.press("Escape");
  EXPECT_TRUE(view.ends());
  view.click();
  view.settle();
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(PickingMode, otherButtonsAndKeysPickNothing) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.click(2);
  view.click(3);
  view.press("space");
  view.press("a");
  view.press("ctrl+Return");
  view.settle();
  EXPECT_TRUE(view.isPicking());
  EXPECT_THAT(view.messages(), IsEmpty());
}

TEST_F(PickingMode, dragFromOneElementToAnotherPicksNothing) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.input({"mousedown", "1"});
  view.hover("document.querySelector('.ad-slot')");
  view.input({"mouseup", "1"});
  view.settle();
  EXPECT_THAT(view.messages(), IsEmpty());
  EXPECT_TRUE(view.isPicking());
}

TEST_F(PickingMode, startingItAgainLeavesOneOverlay) {
  view.show(news);
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  for (int i = 0; i < 5; ++i) view.startPicking();
  EXPECT_EQ(view.shownSelector(), "");
  EXPECT_EQ(view.value("document.documentElement.children.length"), "3");
  view.hover("document.querySelector('#lead')");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_TRUE(view.ends());
  view.settle();
  EXPECT_EQ(view.messages().size(), 1U);
  EXPECT_EQ(view.value("document.documentElement.children.length"), "2");
}

TEST_F(PickingMode, sendsTheLastNameThatThePageWasGiven) {
  view.show(news);
  view.startPicking();
  view.script().dispatch(view.view(), "tab 2 \"'\\\u00e9", "showSelector");
  view.settle();
  view.hover("document.querySelector('#lead')");
  view.click();
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.messages()[0].page, "tab 2 \"'\\\u00e9");
}

TEST_F(PickingMode, boxesFollowThePageWhenItScrolls) {
  view.show(std::string(news) + "<style>body { height: 5000px }</style>");
  view.startPicking();
  view.hover("document.querySelector('#lead')");
  view.run("scrollTo(0, 30)");
  EXPECT_TRUE(view.becomes(
      "Math.round(test.overlay.querySelector('.match').getBoundingClientRect().y) === 120",
      World::Script));
}

TEST_F(PickingMode, wheelScrollsWhatIsUnderThePointer) {
  view.show(R"html(<!doctype html><style>body { margin: 0 }</style>
    <div id=list style="height: 300px; overflow: auto"><div style="height: 3000px"></div></div>
    <div id=rest style="height: 5000px">)html");
  view.startPicking();
  view.hover("document.querySelector('#list')");
  view.click(5);
  EXPECT_TRUE(view.becomes("document.querySelector('#list').scrollTop > 0"));
  EXPECT_EQ(view.value("scrollY"), "0");
  view.hoverAt(400, 600);
  view.click(5);
  EXPECT_TRUE(view.becomes("scrollY > 0"));
}

TEST_F(PickingMode, afterScrollingPicksWhatItShows) {
  view.show(std::string(news) + "<style>body { height: 5000px }</style>");
  view.startPicking();
  view.hoverAt(700, 250);
  EXPECT_EQ(view.shownSelector(), "");
  view.run("scrollTo(0, 80)");
  const std::string shown = "test.overlay.querySelector('.selector').textContent";
  EXPECT_TRUE(view.becomes(shown + " === '.ad-slot'", World::Script));
  view.hoverAt(150, 80);
  view.press("Up");
  EXPECT_TRUE(view.becomes(shown + " === '#story'", World::Script));
  view.run("scrollTo(0, 450)");
  view.settle();
  EXPECT_EQ(view.shownSelector(), "#story") << "what was widened to stays";
  view.press("Return");
  ASSERT_TRUE(view.hears(1));
  EXPECT_EQ(view.pickedSelector(), "#story");
}

TEST_F(PickingMode, endsWhenThePageGoesAway) {
  view.show(news);
  view.startPicking();
  view.show("<p id=other>Other", "text/html", "http://other.test/");
  EXPECT_FALSE(view.isPicking());
  view.waitForLoad([&] { webkit_web_view_go_back(view.view()); });
  EXPECT_FALSE(view.isPicking());
}

TEST_F(PickingMode, endsWhenThePageIsHidden) {
  view.show(news);
  view.startPicking();
  gtk_widget_set_visible(GTK_WIDGET(view.view()), FALSE);
  EXPECT_TRUE(view.ends());
}

TEST_F(PickingMode, reloadsThePageWhenAsked) {
  view.show(news);
  view.proxy().clearLog();
  view.waitForLoad([&] { view.script().dispatch(view.view(), "page", "reloadIfNeeded"); });
  ASSERT_FALSE(view.proxy().log().empty());
  EXPECT_EQ(view.proxy().log()[0].host, "news.test");
}

}  // namespace
}  // namespace orvane::test
