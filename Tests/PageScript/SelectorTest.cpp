#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

/// Which of several possible selectors is chosen. The target is the element with the text "x".
class ChosenSelector : public ::testing::Test {
 protected:
  std::string of(const std::string& body) {
    view.show("<!doctype html><meta charset=utf-8><body>" + body);
    const auto json = view.value(R"js(
      orvane.selectorFor([...document.querySelectorAll("body *")]
          .find((element) => element.textContent === "x" && element.children.length === 0))
          ?.selector ?? "none")js",
                                 World::Script);
    return json.substr(1, json.size() - 2);
  }

  static std::string times(int count, const std::string& html) {
    std::string all;
    for (int i = 0; i < count; ++i) all += html;
    return all;
  }

  ScriptedView view;
};

TEST_F(ChosenSelector, prefersTheIdToAClassAndAClassToAnAttribute) {
  EXPECT_EQ(of("<p id=one class=two title=three>x</p>"), "#one");
  EXPECT_EQ(of("<p class=two title=three>x</p>"), ".two");
  EXPECT_EQ(of("<p title=three>x</p><p>y</p>"), "p[title=\\\"three\\\"]");
}

TEST_F(ChosenSelector, takesTwoClassesThatMeetOnTheElementOnly) {
  EXPECT_EQ(of("<p class='news harbour'>x</p><p class=news>y</p><p class=harbour>z</p>"),
            ".news.harbour");
}

TEST_F(ChosenSelector, prefersClassesThatSayWhatItIsToThoseThatSayHowItLooks) {
  EXPECT_EQ(of("<p class='mt-4 news'>x</p>"), ".news");
  EXPECT_EQ(of("<p class='mt-4 news'>x</p><p class=news>y</p>"), ".news");
  EXPECT_EQ(of("<p class='mt-4 flex'>x</p><p class=mt-4>y</p>"), "p.mt-4.flex");
}

TEST_F(ChosenSelector, takesAllEqualsWhenTheyAreFew) {
  EXPECT_EQ(of("<p class=card>x</p>" + times(19, "<p class=card>y</p>")), ".card");
  EXPECT_EQ(of("<p class=card>x</p>" + times(20, "<p class=card>y</p>")),
            "body > p:nth-of-type(1)");
}

TEST_F(ChosenSelector, prefersAllAdvertsToAnAttributeOfOne) {
  EXPECT_EQ(of("<p class=ad-box title=rope>x</p><p class=ad-box>y</p>"), ".ad-box");
  EXPECT_EQ(of("<p class=card title=rope>x</p><p class=card>y</p>"), "p[title=\\\"rope\\\"]");
}

TEST_F(ChosenSelector, takesNoEqualThatHoldsTheElement) {
  EXPECT_EQ(of("<div class=ad-box><div class=ad-box>x</div>y</div>"), ".ad-box > div.ad-box");
}

TEST_F(ChosenSelector, takesNoEqualThatCoversMuchOfThePage) {
  EXPECT_EQ(of("<div class=ad-box>x</div><div class=ad-box style='height: 3000px'>y</div>"),
            "body > div:nth-of-type(1)");
}

TEST_F(ChosenSelector, goesByANamedAncestor) {
  EXPECT_EQ(of("<div id=side><ul><li>x</li></ul></div>"), "#side > ul > li");
  EXPECT_EQ(of("<div id=side><p class=card>x</p></div>" + times(30, "<p class=card>y</p>")),
            "#side > p.card");
  EXPECT_EQ(of("<div id=side><p>y</p><p>x</p></div>"), "#side > p:nth-of-type(2)");
}

TEST_F(ChosenSelector, takesAFolderForAllThatIsInItOnlyWhenItHoldsAdverts) {
  EXPECT_EQ(of("<a href='/photos/gulls.html?from=2'>x</a>"), "a[href^=\\\"/photos/gulls.html\\\"]");
  EXPECT_EQ(of("<a href='/sponsored/gulls.html'>x</a>"), "a[href^=\\\"/sponsored/\\\"]");
  EXPECT_EQ(of("<a href='http://news.test/'>x</a>"), "body > a");
  EXPECT_EQ(of("<a href='http://other.test/'>x</a>"), "a[href*=\\\"//other.test/\\\"]");
}

TEST_F(ChosenSelector, takesNoPositionInAListThatIsTooLongToCount) {
  EXPECT_EQ(of("<p>x</p>" + times(998, "<p>y</p>")), "body > p:nth-of-type(1)");
  EXPECT_EQ(of("<p>x</p>" + times(999, "<p>y</p>")), "none");
  EXPECT_EQ(of("<div><p>y</p><p>x</p></div>" + times(1000, "<p>y</p>")), "none")
      << "the browser would count all of these to see which are the second";
}

}  // namespace
}  // namespace orvane::test
