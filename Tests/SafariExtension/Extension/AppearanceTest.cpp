#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SafariExtension/Extension/CustomScroller.h"
#include "SafariExtension/Extension/FlippedClipView.h"
#include "SafariExtension/Extension/ViewAppearance.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr NSColor red{1, 0, 0};

TEST(BackgroundColor, OfAViewWithoutALayerIsNone) {
  const NSView view;
  EXPECT_FALSE(view.layer());
  EXPECT_EQ(myBackgroundColor(view), std::nullopt);
}

TEST(BackgroundColor, OfALayerWithoutOneIsNone) {
  NSView view;
  view.setWantsLayer(true);
  EXPECT_EQ(myBackgroundColor(view), std::nullopt);
}

TEST(BackgroundColor, GivesTheViewALayer) {
  NSView view;
  setMyBackgroundColor(view, red);
  ASSERT_TRUE(view.layer());
  EXPECT_EQ(view.layer()->backgroundColor, red);
  EXPECT_EQ(myBackgroundColor(view), red);
}

TEST(BackgroundColor, TakenAwayLeavesTheViewItsLayer) {
  NSView view;
  setMyBackgroundColor(view, red);
  setMyBackgroundColor(view, std::nullopt);
  EXPECT_TRUE(view.layer());
  EXPECT_EQ(myBackgroundColor(view), std::nullopt);
}

TEST(BackgroundColor, LeavesTheBorderAlone) {
  NSView view;
  view.setLayer({std::nullopt, red, 1, 6});
  setMyBackgroundColor(view, NSColor{0, 1, 0});
  EXPECT_EQ(view.layer(), (CALayer{NSColor{0, 1, 0}, red, 1, 6}));
}

TEST(FormattedPlaceholder, IsGreyInTheLabelFontOfTheSize) {
  NSTextField field;
  EXPECT_FALSE(field.placeholderAttributedString());
  setFormattedPlaceholder(field, "example.com", 13);
  EXPECT_EQ(field.placeholderAttributedString(),
            (NSAttributedString{"example.com", NSColor::systemGrayColor(), 13}));
}

TEST(Accessibility, FindsNoColumnOfAView) {
  const NSView view;
  const CustomScroller scroller;
  EXPECT_EQ(view.accessibilityColumnIndex(), NSNotFound);
  EXPECT_EQ(scroller.accessibilityColumnIndex(), NSNotFound);
}

TEST(FlippedClipViews, LayOutFromTheTopDown) {
  EXPECT_TRUE(FlippedClipView().isFlipped());
  EXPECT_FALSE(NSClipView().isFlipped());
}

/// Writes down what is drawn.
class RecordingContext final : public NSGraphicsContext {
 public:
  NSCompositingOperation compositingOperation() const override { return operation; }
  void fillRect(const NSRect& rect, const NSColor& color, NSCompositingOperation drawnBy) override {
    drawn.push_back(fmt::format("{} {} {}", text(rect), text(color),
                                drawnBy == NSCompositingOperation::copy ? "copy" : "source over"));
  }
  void fillRoundedRect(const NSRect& rect, const NSSize& radii, const NSColor& color) override {
    drawn.push_back(
        fmt::format("{} rounded by {}x{} {}", text(rect), radii.width, radii.height, text(color)));
  }

  NSCompositingOperation operation = NSCompositingOperation::sourceOver;
  std::vector<std::string> drawn;

 private:
  static std::string text(const NSRect& rect) {
    return fmt::format("{},{} {}x{}", rect.x, rect.y, rect.width, rect.height);
  }
  static std::string text(const NSColor& color) {
    return fmt::format("rgb {:.0f},{:.0f},{:.0f} alpha {}", color.red * 255, color.green * 255,
                       color.blue * 255, color.alpha);
  }
};

class Scroller : public ::testing::Test {
 protected:
  Scroller() {
    scroller.setSize({10, 100});
    scroller.setKnobProportion(0.4);
    scroller.setDoubleValue(0.5);
  }
  CustomScroller scroller;
  RecordingContext context;
};

TEST_F(Scroller, IsTenPointsWideForEverySizeAndStyle) {
  for (const auto size : {NSControlSize::regular, NSControlSize::small, NSControlSize::mini}) {
    for (const auto style : {NSScrollerStyle::legacy, NSScrollerStyle::overlay}) {
      EXPECT_EQ(CustomScroller::scrollerWidthForControlSize(size, style), 10.0);
    }
  }
  EXPECT_TRUE(CustomScroller::isCompatibleWithOverlayScrollers());
}

TEST_F(Scroller, DrawsTheSlotAndThenTheKnob) {
  scroller.drawRect(&context, {0, 0, 10, 100});
  EXPECT_THAT(context.drawn, ElementsAre("0,0 10x100 rgb 55,56,67 alpha 1 source over",
                                         "2,30 6x40 rounded by 3x3 rgb 143,144,154 alpha 1"));
}

TEST_F(Scroller, FillsTheSlotByTheOperationOfTheContextHighlightedOrNot) {
  context.operation = NSCompositingOperation::copy;
  CustomScroller::drawKnobSlotInRect(&context, {0, 5, 10, 20}, true);
  CustomScroller::drawKnobSlotInRect(&context, {0, 5, 10, 20}, false);
  EXPECT_THAT(context.drawn, ElementsAre("0,5 10x20 rgb 55,56,67 alpha 1 copy",
                                         "0,5 10x20 rgb 55,56,67 alpha 1 copy"));
}

TEST_F(Scroller, DrawsAKnobOfTheSameWidthWhateverItsRectangle) {
  scroller.setKnobProportion(0.9);
  scroller.setDoubleValue(0);
  for (const double width : {4.0, 40.0}) {
    scroller.setSize({width, 1000});
    scroller.drawKnob(&context);
  }
  const std::string knob = "2,0 6x900 rounded by 3x3 rgb 143,144,154 alpha 1";
  EXPECT_THAT(context.drawn, ElementsAre(knob, knob));
}

TEST_F(Scroller, DrawsNoKnobWhereThereIsNothingToScroll) {
  scroller.setKnobProportion(1);
  scroller.drawKnob(&context);
  EXPECT_THAT(context.drawn, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
