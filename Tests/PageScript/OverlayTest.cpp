#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Tests/PageScript/ScriptedView.h"

namespace orvane::test {
namespace {

constexpr const char* page = R"html(<!doctype html><meta charset=utf-8>
  <div id=offer style="height: 100px">Buy</div>)html";

/// The contrast of text on its ground, as the luminance of both gives it.
constexpr const char* contrast = R"js(
  const luminance = (colour) => {
    const [red, green, blue] = colour.match(/[\d.]+/g).map((part) => {
      const value = part / 255;
      return value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
    });
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  };
  const ground = luminance(getComputedStyle(test.overlay.querySelector(".panel")).backgroundColor);
  const lowest = [".selector", ".count", ".hints", "kbd"].map((part) => {
    const text = luminance(getComputedStyle(test.overlay.querySelector(part)).color);
    return (Math.max(text, ground) + 0.05) / (Math.min(text, ground) + 0.05);
  }).sort((a, b) => a - b)[0];
  return [lowest >= 4.5, ground > 0.5];)js";

class Overlay : public ::testing::Test {
 protected:
  Overlay() { useDarkColours(false); }
  ~Overlay() override { useDarkColours(false); }

  static void useDarkColours(bool dark) {
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme",
                 dark ? TRUE : FALSE, nullptr);
  }

  /// Whether the panel with everything in it is in the window, and nothing in it is cut off.
  bool panelIsWhole() {
    return view.run(R"js(
      const panel = test.overlay.querySelector(".panel");
      const { left, top, right, bottom } = panel.getBoundingClientRect();
      const inside = left >= 0 && top >= 0 && right <= innerWidth && bottom <= innerHeight;
      const parts = [...panel.querySelectorAll("*")].map((part) => part.getBoundingClientRect());
      return inside && panel.scrollHeight <= panel.clientHeight + 1 &&
          parts.every((part) => part.left >= left && part.right <= right && part.top >= top &&
              part.bottom <= bottom);)js",
                    World::Script) == "true";
  }

  double panelTop() {
    return std::stod(view.value("test.overlay.querySelector('.panel').getBoundingClientRect().top",
                                World::Script));
  }

  ScriptedView view;
};

TEST_F(Overlay, isReadableInLightAndInDark) {
  view.show(page);
  view.startPicking();
  view.hover("document.querySelector('#offer')");
  EXPECT_EQ(view.run(contrast, World::Script), "[true,true]");
  useDarkColours(true);
  EXPECT_TRUE(view.becomes("matchMedia('(prefers-color-scheme: dark)').matches"));
  EXPECT_EQ(view.run(contrast, World::Script), "[true,false]");
}

TEST_F(Overlay, panelIsWholeAtEverySize) {
  view.show(page);
  for (const double zoom : {1.0, 2.0, 3.0}) {
    webkit_web_view_set_zoom_level(view.view(), zoom);
    EXPECT_TRUE(view.becomes(fmt::format("innerWidth === {}", static_cast<int>(1000 / zoom))));
    view.startPicking();
    view.hover("document.querySelector('#offer')");
    EXPECT_EQ(view.shownSelector(), "#offer");
    EXPECT_TRUE(panelIsWhole()) << zoom;
  }
}

TEST_F(Overlay, panelIsWholeWithALongSelector) {
  std::string html = "<!doctype html><body>";
  for (int i = 0; i < 120; ++i) html += "<section>";
  view.show(html + "<p>Deep");
  view.startPicking();
  view.hover("document.querySelector('p')");
  EXPECT_GT(view.shownSelector().size(), 900U);
  EXPECT_TRUE(panelIsWhole());
}

TEST_F(Overlay, panelIsWrittenFromLeftToRightOnAPageFromRightToLeft) {
  view.show("<!doctype html><html dir=rtl><meta charset=utf-8><body><p id=offer>نص");
  view.startPicking();
  view.hover("document.querySelector('#offer')");
  EXPECT_EQ(
      view.value("getComputedStyle(test.overlay.querySelector('.panel')).direction", World::Script),
      R"("ltr")");
  EXPECT_TRUE(panelIsWhole());
  EXPECT_EQ(view.value("(({ x, width }) => [x, width])"
                       "(document.querySelector('#offer').getBoundingClientRect())"),
            view.value("(({ x, width }) => [x, width])"
                       "(test.overlay.querySelector('.match').getBoundingClientRect())",
                       World::Script));
}

TEST_F(Overlay, panelMakesWayForThePointer) {
  view.show(
      "<!doctype html><style>body { margin: 0 }</style>"
      "<div id=top style='height: 700px'></div><div id=offer style='height: 90px'></div>");
  view.startPicking();
  EXPECT_GT(panelTop(), 400);
  view.hover("document.querySelector('#offer')");
  EXPECT_EQ(view.shownSelector(), "#offer");
  EXPECT_LT(panelTop(), 400);
  view.hoverAt(500, 40);
  EXPECT_GT(panelTop(), 400);
}

TEST_F(Overlay, isAboveEverythingOfThePage) {
  view.show(std::string(page) + R"html(<div style="position: fixed; inset: 0; z-index: 2147483647"
    id=cover></div><div popover=manual id=popover style="inset: 0; width: auto; height: auto"></div>
    <script>document.querySelector("#popover").showPopover()</script>)html");
  view.startPicking();
  EXPECT_EQ(view.value("document.elementFromPoint(500, 700) === "
                       "document.documentElement.lastElementChild"),
            "true");
  view.hoverAt(500, 400);
  EXPECT_EQ(view.shownSelector(), "#popover");
}

TEST_F(Overlay, coversTheWindowOfAPageThatIsScrolled) {
  view.show(std::string(page) + "<div style='height: 5000px'>");
  view.run("scrollTo(0, 2000)");
  view.startPicking();
  EXPECT_EQ(view.value("(({ x, y, width, height }) => [x, y, width, height])"
                       "(test.overlay.host.getBoundingClientRect())",
                       World::Script),
            "[0,0,1000,800]");
}

TEST_F(Overlay, boxCoversWhatAnElementWithoutABoxOfItsOwnHolds) {
  view.show(R"html(<!doctype html><style>body { margin: 0 }</style>
    <div id=holder><div style="float: left; width: 200px; height: 100px"></div></div>)html");
  view.startPicking();
  view.hoverAt(50, 50);
  view.press("Up");
  EXPECT_TRUE(view.becomes("test.overlay.querySelector('.selector').textContent === '#holder'",
                           World::Script));
  EXPECT_EQ(view.boxes(), std::vector<std::string>{"0,0,200,100!"});
}

TEST_F(Overlay, leavesThePageAsItWas) {
  view.show(page);
  const auto before = view.value("document.documentElement.outerHTML");
  view.startPicking();
  view.hover("document.querySelector('#offer')");
  view.press("Escape");
  EXPECT_TRUE(view.ends());
  EXPECT_EQ(view.value("document.documentElement.outerHTML"), before);
}

}  // namespace
}  // namespace orvane::test
