#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/AppKit/NSButton.h"
#include "Platform/AppKit/NSScroller.h"

namespace orvane::test {
namespace {

class MirroredButton : public ::testing::Test {
 protected:
  MirroredButton() {
    button.setMirror([this] { ++changes; });
  }
  NSButton button;
  int changes = 0;
};

TEST_F(MirroredButton, TellsOfEveryChange) {
  button.setTitle("Send");
  button.setEnabled(false);
  button.setHidden(true);
  button.setAlphaValue(0.5);
  button.setWantsLayer(true);
  EXPECT_EQ(changes, 5);
}

TEST_F(MirroredButton, TellsNothingOfAValueThatIsThereAlready) {
  button.setTitle("");
  button.setEnabled(true);
  button.setHidden(false);
  button.setAlphaValue(1, std::chrono::seconds(1));
  button.setWantsLayer(false);
  EXPECT_EQ(changes, 0);
}

TEST_F(MirroredButton, TellsNothingAnyMoreWhenTheMirrorIsTakenAway) {
  button.setMirror(nullptr);
  button.setTitle("Send");
  EXPECT_EQ(changes, 0);
}

TEST_F(MirroredButton, HasItsNewAlphaAtOnce) {
  button.setAlphaValue(0, std::chrono::milliseconds(300));
  EXPECT_EQ(button.alphaValue(), 0);
  EXPECT_EQ(button.alphaDuration(), std::chrono::milliseconds(300));
  button.setAlphaValue(1);
  EXPECT_EQ(button.alphaDuration(), std::chrono::milliseconds(0));
}

TEST_F(MirroredButton, KeepsItsLayerWhenItWantsOneAgain) {
  button.setLayer({NSColor{1, 0, 0}, std::nullopt, 0, 0});
  button.setWantsLayer(true);
  EXPECT_TRUE(button.layer()->backgroundColor);
  button.setWantsLayer(false);
  EXPECT_FALSE(button.layer());
}

class PlainScroller final : public NSScroller {
 public:
  void drawRect(NSGraphicsContext* /*context*/, const NSRect& /*rect*/) const override {}
};

class Knob : public ::testing::Test {
 protected:
  Knob() {
    scroller.setSize({10, 200});
    scroller.setKnobProportion(0.25);
  }
  PlainScroller scroller;
};

TEST_F(Knob, StandsWhereTheValueSays) {
  EXPECT_EQ(scroller.rectForKnob(), (NSRect{0, 0, 10, 50}));
  scroller.setDoubleValue(0.5);
  EXPECT_EQ(scroller.rectForKnob(), (NSRect{0, 75, 10, 50}));
  scroller.setDoubleValue(1);
  EXPECT_EQ(scroller.rectForKnob(), (NSRect{0, 150, 10, 50}));
}

TEST_F(Knob, StaysInItsSlot) {
  scroller.setDoubleValue(1.5);
  EXPECT_EQ(scroller.rectForKnob(), (NSRect{0, 150, 10, 50}));
  scroller.setDoubleValue(-1);
  EXPECT_EQ(scroller.rectForKnob(), (NSRect{0, 0, 10, 50}));
}

TEST_F(Knob, IsNeverTooShortToBeCaughtNorLongerThanItsSlot) {
  scroller.setKnobProportion(0.001);
  EXPECT_EQ(scroller.rectForKnob().height, 20);
  scroller.setSize({10, 12});
  EXPECT_EQ(scroller.rectForKnob().height, 12);
}

TEST_F(Knob, IsNotThereWhereThereIsNothingToScroll) {
  scroller.setKnobProportion(1);
  EXPECT_EQ(scroller.rectForKnob(), NSRect{});
}

TEST_F(Knob, GivesTheValueAtWhichItStands) {
  EXPECT_EQ(scroller.valueForKnobAt(75), 0.5);
  EXPECT_EQ(scroller.valueForKnobAt(-5), 0);
  EXPECT_EQ(scroller.valueForKnobAt(500), 1);
  scroller.setKnobProportion(1);
  EXPECT_EQ(scroller.valueForKnobAt(75), 0);
}

}  // namespace
}  // namespace orvane::test
