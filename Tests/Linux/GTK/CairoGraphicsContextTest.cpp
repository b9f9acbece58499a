#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/GTK/CairoGraphicsContext.h"
#include "SafariExtension/Extension/CustomScroller.h"
#include "Tests/Linux/GTK/Picture.h"

namespace orvane::test {
namespace {

using ::testing::Le;

constexpr Pixel slot{55, 56, 67};
constexpr Pixel knob{143, 144, 154};
constexpr Pixel red{255, 0, 0};

/// A red surface, and what draws on it.
class Canvas {
 public:
  Canvas(int width, int height)
      : surface_(Cairo::ImageSurface::create(Cairo::Surface::Format::ARGB32, width, height)),
        cairo_(Cairo::Context::create(surface_)) {
    cairo_->set_source_rgb(1, 0, 0);
    cairo_->paint();
  }

  Picture picture() const { return Picture::of(surface_); }
  Cairo::Context& cairo() { return *cairo_; }
  CairoGraphicsContext& context() { return context_; }

 private:
  Cairo::RefPtr<Cairo::ImageSurface> surface_;
  Cairo::RefPtr<Cairo::Context> cairo_;
  CairoGraphicsContext context_{cairo_};
};

Picture scrollerPicture(NSSize size, double doubleValue, double knobProportion, int width = 10) {
  CustomScroller scroller;
  scroller.setSize(size);
  scroller.setDoubleValue(doubleValue);
  scroller.setKnobProportion(knobProportion);
  Canvas canvas(width, static_cast<int>(size.height));
  scroller.drawRect(&canvas.context(), {0, 0, static_cast<double>(width), size.height});
  return canvas.picture();
}

TEST(CairoGraphicsContext, FillsARectangleAndNothingElse) {
  Canvas canvas(6, 6);
  canvas.context().fillRect({1, 2, 3, 2}, NSColor::fromBytes(55, 56, 67),
                            NSCompositingOperation::sourceOver);
  const auto picture = canvas.picture();
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const bool isInside = x >= 1 && x < 4 && y >= 2 && y < 4;
      EXPECT_EQ(picture.at(x, y), isInside ? slot : red) << x << ", " << y;
    }
  }
}

TEST(CairoGraphicsContext, LaysATransparentColourOverWhatIsThere) {
  Canvas canvas(1, 1);
  canvas.context().fillRect({0, 0, 1, 1}, {0, 0, 1, 0.5}, NSCompositingOperation::sourceOver);
  EXPECT_THAT(canvas.picture().at(0, 0).distance({127, 0, 128, 255}), Le(1));
}

TEST(CairoGraphicsContext, PutsATransparentColourInThePlaceOfWhatIsThere) {
  Canvas canvas(1, 1);
  canvas.context().fillRect({0, 0, 1, 1}, {0, 0, 1, 0.5}, NSCompositingOperation::copy);
  EXPECT_THAT(canvas.picture().at(0, 0).distance({0, 0, 128, 128}), Le(1));
}

TEST(CairoGraphicsContext, FillsByTheGivenOperationAndKeepsItsOwn) {
  Canvas canvas(1, 1);
  EXPECT_EQ(canvas.context().compositingOperation(), NSCompositingOperation::sourceOver);
  canvas.context().fillRect({0, 0, 1, 1}, {0, 0, 1, 0.5}, NSCompositingOperation::copy);
  EXPECT_EQ(canvas.context().compositingOperation(), NSCompositingOperation::sourceOver);
  canvas.cairo().set_operator(Cairo::Context::Operator::SOURCE);
  EXPECT_EQ(canvas.context().compositingOperation(), NSCompositingOperation::copy);
}

TEST(CairoGraphicsContext, FillsRoundedRectanglesByItsOwnOperation) {
  Canvas over(8, 8);
  over.context().fillRoundedRect({0, 0, 8, 8}, {2, 2}, {0, 0, 1, 0.5});
  EXPECT_THAT(over.picture().at(4, 4).distance({127, 0, 128, 255}), Le(1));
  EXPECT_THAT(over.picture().at(0, 0).distance(red), Le(80));

  Canvas copy(8, 8);
  copy.cairo().set_operator(Cairo::Context::Operator::SOURCE);
  copy.context().fillRoundedRect({0, 0, 8, 8}, {2, 2}, {0, 0, 1, 0.5});
  EXPECT_THAT(copy.picture().at(4, 4).distance({0, 0, 128, 128}), Le(1));
}

TEST(CairoGraphicsContext, CornersAreAsWideAndAsHighAsTheirRadii) {
  Canvas canvas(40, 40);
  canvas.context().fillRoundedRect({0, 0, 40, 40}, {16, 4}, NSColor::fromBytes(55, 56, 67));
  const auto picture = canvas.picture();
  // The ellipse begins at (16, 0) and ends at (0, 4).
  EXPECT_EQ(picture.at(17, 0), slot);
  EXPECT_EQ(picture.at(0, 5), slot);
  EXPECT_EQ(picture.at(1, 1), red);
  EXPECT_EQ(picture.at(6, 3), slot) << "a circle of 16 would leave this out";
  EXPECT_EQ(picture.at(2, 0), red) << "a circle of 4 would be about to end here";
  EXPECT_EQ(picture.at(38, 38), red);
  EXPECT_EQ(picture.at(38, 1), red);
  EXPECT_EQ(picture.at(1, 38), red);
}

TEST(CairoGraphicsContext, RadiiEndInTheMiddleOfARectangleThatIsTooSmallForThem) {
  Canvas canvas(20, 20);
  canvas.context().fillRoundedRect({5, 5, 10, 10}, {100, 100}, NSColor::fromBytes(55, 56, 67));
  const auto picture = canvas.picture();
  EXPECT_EQ(picture.at(10, 10), slot);
  EXPECT_EQ(picture.at(5, 5), red);
  EXPECT_EQ(picture.at(4, 10), red);
  EXPECT_EQ(picture.at(15, 10), red);
}

TEST(CairoGraphicsContext, CornersWithoutARadiusAreSharp) {
  Canvas canvas(4, 4);
  canvas.context().fillRoundedRect({1, 1, 2, 2}, {0, 0}, NSColor::fromBytes(55, 56, 67));
  EXPECT_EQ(canvas.picture().at(1, 1), slot);
  EXPECT_EQ(canvas.picture().at(2, 2), slot);
  EXPECT_EQ(canvas.picture().at(3, 3), red);
}

// The scroller of the popover, as it draws itself.

TEST(DrawnScroller, TheSlotFillsItAndTheKnobIsSixWideAtTwo) {
  const auto picture = scrollerPicture({10, 100}, 0, 0.5);
  for (int y = 4; y < 46; ++y) {
    for (int x = 0; x < 10; ++x) {
      EXPECT_EQ(picture.at(x, y), x >= 2 && x < 8 ? knob : slot) << x << ", " << y;
    }
  }
  for (int y = 50; y < 100; ++y) {
    for (int x = 0; x < 10; ++x) EXPECT_EQ(picture.at(x, y), slot) << x << ", " << y;
  }
}

TEST(DrawnScroller, TheCornersOfTheKnobAreRoundedByThree) {
  const auto picture = scrollerPicture({10, 100}, 0, 0.5);
  for (const int x : {2, 7}) {
    for (const int y : {0, 49}) {
      EXPECT_THAT(picture.at(x, y).distance(slot), Le(20)) << "corner " << x << ", " << y;
    }
    EXPECT_EQ(picture.at(x, 3), knob);
    EXPECT_EQ(picture.at(x, 46), knob);
  }
  for (const int y : {0, 49}) {
    EXPECT_THAT(picture.at(4, y).distance(knob), Le(20)) << "edge at " << y;
    EXPECT_THAT(picture.at(5, y).distance(knob), Le(20)) << "edge at " << y;
  }
}

TEST(DrawnScroller, TheKnobStandsWhereTheValueIs) {
  const auto picture = scrollerPicture({10, 100}, 1, 0.25);
  EXPECT_EQ(picture.at(5, 74), slot);
  EXPECT_THAT(picture.at(5, 75).distance(knob), Le(20));
  EXPECT_EQ(picture.at(5, 90), knob);
}

TEST(DrawnScroller, AKnobThatIsTallAndNarrowIsSixWideAllTheSame) {
  const auto picture = scrollerPicture({3, 400}, 0, 0.9);
  for (int x = 0; x < 10; ++x) {
    EXPECT_EQ(picture.at(x, 200), x >= 2 && x < 8 ? knob : slot) << x;
  }
}

TEST(DrawnScroller, WithNothingToScrollThereIsNoKnob) {
  const auto picture = scrollerPicture({10, 50}, 0, 1);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) EXPECT_EQ(picture.at(x, y), slot);
  }
}

}  // namespace
}  // namespace orvane::test
