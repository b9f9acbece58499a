#include <gmock/gmock.h>
#include <gtkmm/box.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>

#include "Linux/GTK/ScrollerMirror.h"
#include "SafariExtension/Extension/CustomScroller.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Linux/GTK/Picture.h"

namespace orvane::test {
namespace {

using ::testing::DoubleEq;
using ::testing::DoubleNear;
using ::testing::Gt;
using ::testing::Le;
using ::testing::Lt;

constexpr Pixel slot{55, 56, 67};
constexpr Pixel knob{143, 144, 154};
constexpr double width = 10;

/// A scroller of 300 points beside something of 1000 points, of which 250 are seen.
class ScrollerMirrorTest : public GTKTest {
 protected:
  void SetUp() override {
    GTKTest::SetUp();
    adjustment = Gtk::Adjustment::create(0, 0, 1000, 10, 200, 250);
    box = std::make_unique<Gtk::Box>();
    area = Gtk::make_managed<Gtk::DrawingArea>();
    box->append(*area);
  }
  void TearDown() override {
    mirror.reset();
    box.reset();
    GTKTest::TearDown();
  }
  void showMirror() {
    mirror.emplace(view, *area, adjustment, width);
    show(*box);
    Picture::of(*area);
  }
  void pressAt(double y) { g_signal_emit_by_name(gesture(), "drag-begin", width / 2, y); }
  void moveBy(double y) { g_signal_emit_by_name(gesture(), "drag-update", 0.0, y); }
  bool turnWheel(double steps) {
    gboolean isUsed = FALSE;
    g_signal_emit_by_name(controllerOf(*area, GTK_TYPE_EVENT_CONTROLLER_SCROLL), "scroll", 0.0,
                          steps, &isUsed);
    return isUsed != FALSE;
  }
  GtkEventController* gesture() { return controllerOf(*area, GTK_TYPE_GESTURE_DRAG); }

  CustomScroller view;
  Glib::RefPtr<Gtk::Adjustment> adjustment;
  std::unique_ptr<Gtk::Box> box;
  Gtk::DrawingArea* area = nullptr;
  std::optional<ScrollerMirror> mirror;
};

TEST_F(ScrollerMirrorTest, TheScrollerHasTheSizeOfTheWidget) {
  showMirror();
  EXPECT_EQ(area->get_width(), 10);
  EXPECT_EQ(view.size(), (NSSize{10, 300}));
}

TEST_F(ScrollerMirrorTest, TheScrollerFollowsWhatIsScrolled) {
  showMirror();
  EXPECT_THAT(view.knobProportion(), DoubleEq(0.25));
  EXPECT_THAT(view.doubleValue(), DoubleEq(0));
  adjustment->set_value(750);
  EXPECT_THAT(view.doubleValue(), DoubleEq(1));
  adjustment->set_value(375);
  EXPECT_THAT(view.doubleValue(), DoubleEq(0.5));
  adjustment->configure(500, 0, 2250, 10, 200, 250);
  EXPECT_THAT(view.doubleValue(), DoubleEq(0.25));
  EXPECT_THAT(view.knobProportion(), DoubleEq(250.0 / 2250));
  EXPECT_THAT(adjustment->get_value(), DoubleEq(500)) << "nothing comes back";
}

TEST_F(ScrollerMirrorTest, WhatIsScrolledFollowsTheScroller) {
  showMirror();
  view.setDoubleValue(0.5);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(375));
  view.setDoubleValue(1);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(750));
}

TEST_F(ScrollerMirrorTest, ContentThatFitsHasNoKnob) {
  showMirror();
  adjustment->configure(0, 0, 250, 10, 200, 250);
  EXPECT_THAT(view.knobProportion(), DoubleEq(1));
  EXPECT_EQ(view.rectForKnob().height, 0);
  pressAt(10);
  moveBy(50);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(0));
  EXPECT_FALSE(turnWheel(1)) << "others may scroll instead";
}

TEST_F(ScrollerMirrorTest, TheKnobIsWhereItIsHeld) {
  showMirror();
  const double top = view.rectForKnob().y;
  pressAt(top + 20);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(0)) << "a press alone moves nothing";
  moveBy(50);
  EXPECT_THAT(view.rectForKnob().y, DoubleNear(top + 50, 0.001));
  EXPECT_THAT(adjustment->get_value(), DoubleNear(750 * 50 / 225.0, 0.001));
  moveBy(30);
  EXPECT_THAT(view.rectForKnob().y, DoubleNear(top + 30, 0.001));
  moveBy(10000);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(750));
  moveBy(-10000);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(0));
}

TEST_F(ScrollerMirrorTest, APressBesideTheKnobScrollsByAPage) {
  showMirror();
  pressAt(view.rectForKnob().y + 20);
  moveBy(0);
  pressAt(290);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(200));
  moveBy(-100);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(200)) << "the knob is not held";
  pressAt(290);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(400));
  pressAt(1);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(200));
}

TEST_F(ScrollerMirrorTest, TheWheelScrollsOverTheScrollerToo) {
  showMirror();
  EXPECT_TRUE(turnWheel(1));
  const double once = adjustment->get_value();
  EXPECT_THAT(once, Gt(10));
  EXPECT_THAT(once, Lt(250));
  EXPECT_TRUE(turnWheel(-1));
  EXPECT_THAT(adjustment->get_value(), DoubleEq(0));
}

TEST_F(ScrollerMirrorTest, TheScrollerIsDrawnInTheWidget) {
  showMirror();
  adjustment->set_value(750);
  const auto picture = Picture::of(*area);
  ASSERT_EQ(picture.width(), 10);
  ASSERT_EQ(picture.height(), 300);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const bool isSlot = y < 225 || x < 2 || x >= 8;
      if (isSlot) {
        EXPECT_EQ(picture.at(x, y), slot) << x << ", " << y;
      } else if (y >= 228 && y < 297) {
        EXPECT_EQ(picture.at(x, y), knob) << x << ", " << y;
      }
    }
  }
  for (const int y : {225, 299}) {
    EXPECT_THAT(picture.at(2, y).distance(slot), Le(20));
    EXPECT_THAT(picture.at(7, y).distance(slot), Le(20));
    EXPECT_THAT(picture.at(5, y).distance(knob), Le(20));
  }
}

TEST_F(ScrollerMirrorTest, TheKnobIsDrawnWhereItHasCome) {
  showMirror();
  EXPECT_EQ(Picture::of(*area).at(5, 40), knob);
  adjustment->set_value(750);
  EXPECT_EQ(Picture::of(*area).at(5, 40), slot);
}

TEST_F(ScrollerMirrorTest, AMirrorThatHasEndedLeavesBothAlone) {
  showMirror();
  mirror.reset();
  adjustment->set_value(375);
  EXPECT_THAT(view.doubleValue(), DoubleEq(0));
  view.setDoubleValue(1);
  EXPECT_THAT(adjustment->get_value(), DoubleEq(375));
  EXPECT_EQ(gesture(), nullptr);
  area->queue_draw();
  EXPECT_EQ(Picture::of(*area).at(5, 40), (Pixel{0, 0, 0, 0}));
}

TEST_F(ScrollerMirrorTest, ItScrollsARealText) {
  auto& scrolled = *Gtk::make_managed<Gtk::ScrolledWindow>();
  auto& text = *Gtk::make_managed<Gtk::TextView>();
  scrolled.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::EXTERNAL);
  scrolled.set_hexpand();
  scrolled.set_child(text);
  box->prepend(scrolled);
  adjustment = scrolled.get_vadjustment();
  showMirror();
  EXPECT_THAT(view.knobProportion(), DoubleEq(1));
  std::string lines;
  for (int line = 0; line < 100; ++line) lines += "line\n";
  text.get_buffer()->set_text(lines);
  loop.runUntil([&] { return view.knobProportion() < 0.5; });
  view.setDoubleValue(1);
  EXPECT_THAT(scrolled.get_vadjustment()->get_value(), Gt(300));
}

}  // namespace
}  // namespace orvane::test
