#include <vector>

#include <gmock/gmock.h>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/settings.h>

#include "Linux/GTK/ViewMirror.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Linux/GTK/Picture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::Gt;
using ::testing::Le;
using ::testing::Lt;

using std::chrono::milliseconds;

CALayer withBackground(const NSColor& color) {
  CALayer layer;
  layer.backgroundColor = color;
  return layer;
}

class ViewMirrorTest : public GTKTest {
 protected:
  void SetUp() override {
    GTKTest::SetUp();
    box = std::make_unique<Gtk::Box>();
  }
  void TearDown() override {
    mirror.reset();
    box.reset();
    GTKTest::TearDown();
  }
  void showMirror() {
    mirror.emplace(view, *box);
    show(*box);
  }
  static void setAnimations(bool areWanted) {
    Gtk::Settings::get_default()->property_gtk_enable_animations() = areWanted;
  }

  NSView view;
  std::unique_ptr<Gtk::Box> box;
  std::optional<ViewMirror> mirror;
};

TEST_F(ViewMirrorTest, AHiddenViewIsNotVisible) {
  view.setHidden(true);
  showMirror();
  EXPECT_FALSE(box->get_visible());
  view.setHidden(false);
  EXPECT_TRUE(box->get_visible());
  view.setHidden(true);
  EXPECT_FALSE(box->get_visible());
}

TEST_F(ViewMirrorTest, TheOpacityThatAViewHasAlreadyIsShownAtOnce) {
  view.setAlphaValue(0.5, milliseconds(5000));
  show(*box);
  mirror.emplace(view, *box);
  EXPECT_NEAR(box->get_opacity(), 0.5, 0.01);
}

TEST_F(ViewMirrorTest, AnAlphaWithoutADurationIsShownAtOnce) {
  showMirror();
  view.setAlphaValue(0.25);
  EXPECT_NEAR(box->get_opacity(), 0.25, 0.01);
}

TEST_F(ViewMirrorTest, AFadeGoesThroughWhatIsBetweenAndReachesItsEnd) {
  showMirror();
  view.setAlphaValue(0, milliseconds(200));
  EXPECT_EQ(box->get_opacity(), 1);
  loop.runUntil([&] { return box->get_opacity() < 1; });
  EXPECT_THAT(box->get_opacity(), AllOf(Gt(0), Lt(1)));
  double last = box->get_opacity();
  loop.runUntil([&] {
    EXPECT_THAT(box->get_opacity(), Le(last));
    last = box->get_opacity();
    return last == 0;
  });
}

TEST_F(ViewMirrorTest, AFadeTakesItsTime) {
  showMirror();
  const auto begin = g_get_monotonic_time();
  view.setAlphaValue(0, milliseconds(100));
  loop.runUntil([&] { return box->get_opacity() == 0; });
  // The clock of frames may be up to a frame ahead.
  EXPECT_THAT(g_get_monotonic_time() - begin, Gt(80000));
}

TEST_F(ViewMirrorTest, AFadeThatIsTurnedBackBeginsWhereItStands) {
  showMirror();
  view.setAlphaValue(0, milliseconds(5000));
  loop.runUntil([&] { return box->get_opacity() < 1; });
  const double reached = box->get_opacity();
  view.setAlphaValue(1, milliseconds(5000));
  EXPECT_EQ(box->get_opacity(), reached);
  view.setAlphaValue(0.5);
  EXPECT_NEAR(box->get_opacity(), 0.5, 0.01);
}

TEST_F(ViewMirrorTest, OtherChangesLeaveAFadeAlone) {
  showMirror();
  const auto deadline = g_get_monotonic_time() + 3 * G_USEC_PER_SEC;
  view.setAlphaValue(0, milliseconds(100));
  loop.runUntil([&] {
    view.setWantsLayer(!view.layer());
    return box->get_opacity() == 0 || g_get_monotonic_time() > deadline;
  });
  EXPECT_EQ(box->get_opacity(), 0) << "it begins again and again";
}

TEST_F(ViewMirrorTest, WithoutAnimationsAFadeIsOverAtOnce) {
  setAnimations(false);
  showMirror();
  view.setAlphaValue(0, milliseconds(5000));
  EXPECT_EQ(box->get_opacity(), 0);
  setAnimations(true);
}

TEST_F(ViewMirrorTest, AnimationsThatAreSwitchedOffEndAFade) {
  showMirror();
  view.setAlphaValue(0, milliseconds(5000));
  loop.runUntil([&] { return box->get_opacity() < 1; });
  setAnimations(false);
  loop.runUntil([&] { return box->get_opacity() == 0; });
  setAnimations(true);
}

TEST_F(ViewMirrorTest, WhatNobodySeesDoesNotFade) {
  mirror.emplace(view, *box);
  view.setAlphaValue(0, milliseconds(5000));
  EXPECT_EQ(box->get_opacity(), 0);
}

TEST_F(ViewMirrorTest, AFadeIsOverWhenItsWidgetLeavesTheScreen) {
  showMirror();
  view.setAlphaValue(0, milliseconds(5000));
  loop.runUntil([&] { return box->get_opacity() < 1; });
  window->set_visible(false);
  EXPECT_EQ(box->get_opacity(), 0);
}

TEST_F(ViewMirrorTest, WhatCannotBeSeenTakesNoClicksAndNoKeys) {
  showMirror();
  view.setAlphaValue(0);
  EXPECT_FALSE(box->get_can_target());
  EXPECT_FALSE(box->get_can_focus());
  view.setAlphaValue(0.5);
  EXPECT_TRUE(box->get_can_target());
  EXPECT_TRUE(box->get_can_focus());
}

TEST_F(ViewMirrorTest, ALayerHasABackgroundABorderAndRoundCorners) {
  showMirror();
  view.setLayer({.backgroundColor = NSColor::fromBytes(10, 20, 30),
                 .borderColor = NSColor::lightGrayColor(),
                 .borderWidth = 2,
                 .cornerRadius = 8});
  const auto picture = Picture::of(*box);
  const Pixel border{170, 170, 170};
  const Pixel background{10, 20, 30};
  const int middle = picture.height() / 2;
  EXPECT_EQ(picture.at(0, 0), (Pixel{0, 0, 0, 0}));
  EXPECT_EQ(picture.at(0, middle), border);
  EXPECT_EQ(picture.at(1, middle), border);
  EXPECT_EQ(picture.at(2, middle), background);
  EXPECT_EQ(picture.at(100, 1), border);
  EXPECT_EQ(picture.at(100, 2), background);
  EXPECT_EQ(picture.at(picture.width() - 1, middle), border);
  EXPECT_EQ(picture.at(100, picture.height() - 1), border);
}

TEST_F(ViewMirrorTest, TheContentOfARoundLayerDoesNotCoverItsCorners) {
  Gtk::Label content;
  content.set_hexpand();
  WidgetStyle style(content);
  style.set("background: rgb(200, 0, 0);");
  box->append(content);
  showMirror();
  CALayer layer;
  layer.cornerRadius = 12;
  view.setLayer(layer);
  const auto picture = Picture::of(*box);
  EXPECT_EQ(picture.at(0, 0), (Pixel{0, 0, 0, 0}));
  EXPECT_EQ(picture.at(50, 50), (Pixel{200, 0, 0}));
  box->remove(content);
}

TEST_F(ViewMirrorTest, ALayerThatLosesItsColoursShowsNone) {
  showMirror();
  view.setLayer(withBackground(NSColor::fromBytes(10, 20, 30)));
  EXPECT_EQ(Picture::of(*box).at(50, 50), (Pixel{10, 20, 30}));
  view.setLayer({});
  EXPECT_EQ(Picture::of(*box).at(50, 50), (Pixel{0, 0, 0, 0}));
  view.setLayer(withBackground(NSColor::fromBytes(10, 20, 30)));
  view.setWantsLayer(false);
  EXPECT_EQ(Picture::of(*box).at(50, 50), (Pixel{0, 0, 0, 0}));
}

TEST_F(ViewMirrorTest, AMirrorThatHasEndedLeavesViewAndWidgetAlone) {
  showMirror();
  view.setAlphaValue(0, milliseconds(5000));
  loop.runUntil([&] { return box->get_opacity() < 1; });
  mirror.reset();
  const double reached = box->get_opacity();
  view.setHidden(true);
  view.setAlphaValue(0.5);
  EXPECT_TRUE(box->get_visible());
  EXPECT_EQ(Picture::of(*box).width(), box->get_width()) << "a frame is drawn";
  EXPECT_EQ(box->get_opacity(), reached);
}

TEST_F(ViewMirrorTest, AViewCanHaveANewMirrorAfterTheOldOne) {
  showMirror();
  mirror.reset();
  view.setHidden(true);
  mirror.emplace(view, *box);
  EXPECT_FALSE(box->get_visible());
  view.setHidden(false);
  EXPECT_TRUE(box->get_visible());
}

}  // namespace
}  // namespace orvane::test
