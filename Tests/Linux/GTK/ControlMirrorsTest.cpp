#include <memory>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtkmm/box.h>
#include <gtkmm/stringlist.h>

#include "Linux/GTK/ButtonMirror.h"
#include "Linux/GTK/ClipViewMirror.h"
#include "Linux/GTK/DropDownMirror.h"
#include "Linux/GTK/EntryMirror.h"
#include "Linux/GTK/LabelMirror.h"
#include "Linux/GTK/SpinnerMirror.h"
#include "Linux/GTK/StackMirror.h"
#include "Linux/GTK/TextViewMirror.h"
#include "SafariExtension/Extension/FlippedClipView.h"
#include "SafariExtension/Extension/ViewAppearance.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Linux/GTK/Picture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Ge;

class ControlMirrors : public GTKTest {};

std::string titleOf(Gtk::Button& button) {
  return dynamic_cast<Gtk::Label&>(*button.get_child()).get_text();
}

// Buttons.

TEST_F(ControlMirrors, AButtonShowsTheTitleAndWhetherItCanBePressed) {
  NSButton view;
  view.setTitle("Pause");
  view.setEnabled(false);
  Gtk::Button button("from the file");
  const ButtonMirror mirror(view, button);
  EXPECT_EQ(titleOf(button), "Pause");
  EXPECT_FALSE(button.get_sensitive());
  view.setTitle("⚠️ Resume");
  view.setEnabled(true);
  EXPECT_EQ(titleOf(button), "⚠️ Resume");
  EXPECT_TRUE(button.get_sensitive());
}

TEST_F(ControlMirrors, AButtonWithoutATitleTakesItFromTheWidget) {
  NSButton view;
  Gtk::Button button("Hide an Element");
  const ButtonMirror mirror(view, button);
  EXPECT_EQ(view.title(), "Hide an Element");
  EXPECT_EQ(titleOf(button), "Hide an Element");
}

TEST_F(ControlMirrors, AButtonThatShowsSomethingElseKeepsIt) {
  NSButton view;
  Gtk::Button button;
  Gtk::Box child;
  button.set_child(child);
  const ButtonMirror mirror(view, button);
  view.setTitle("Open");
  EXPECT_EQ(button.get_child(), &child);
}

TEST_F(ControlMirrors, AButtonWithoutItsMirrorStaysAsItIs) {
  NSButton view;
  Gtk::Button button("first");
  std::optional<ButtonMirror> mirror(std::in_place, view, button);
  mirror.reset();
  view.setTitle("second");
  EXPECT_EQ(titleOf(button), "first");
}

// Texts.

TEST_F(ControlMirrors, ALabelShowsTheText) {
  NSTextField view;
  view.setStringValue("Sending...");
  Gtk::Label label;
  const LabelMirror mirror(view, label);
  EXPECT_EQ(label.get_text(), "Sending...");
  EXPECT_FALSE(label.get_has_tooltip());
  view.setStringValue("<b>no & markup</b>");
  EXPECT_EQ(label.get_text(), "<b>no & markup</b>");
}

TEST_F(ControlMirrors, ATextThatTheValueDoesNotHaveComesFromTheLabel) {
  NSTextField view;
  Gtk::Label label("Describe what happened:");
  const LabelMirror mirror(view, label);
  EXPECT_EQ(view.stringValue(), "Describe what happened:");
  EXPECT_EQ(label.get_text(), "Describe what happened:");
}

TEST_F(ControlMirrors, ALabelThatMayBeCutShortTellsTheWholeTextInItsTooltip) {
  NSTextField view;
  Gtk::Label label;
  label.set_ellipsize(Pango::EllipsizeMode::MIDDLE);
  const LabelMirror mirror(view, label);
  view.setStringValue("www.example.com");
  EXPECT_EQ(label.get_tooltip_text(), "www.example.com");
}

TEST_F(ControlMirrors, AnEntryAndItsValueFollowEachOther) {
  NSTextField view;
  view.setStringValue("one");
  Gtk::Entry entry;
  const EntryMirror mirror(view, entry);
  EXPECT_EQ(entry.get_text(), "one");
  view.setStringValue("two");
  EXPECT_EQ(entry.get_text(), "two");
  EXPECT_EQ(view.stringValue(), "two");
  entry.set_text("three");
  EXPECT_EQ(view.stringValue(), "three");
}

TEST_F(ControlMirrors, AnEntryThatIsTypedInKeepsItsCursor) {
  NSTextField view;
  view.setStringValue("ac");
  Gtk::Entry entry;
  const EntryMirror mirror(view, entry);
  int position = 1;
  entry.insert_text("b", 1, position);
  entry.set_position(position);
  EXPECT_EQ(view.stringValue(), "abc");
  EXPECT_EQ(entry.get_position(), 2);
}

TEST_F(ControlMirrors, AnEntryShowsThePlaceholderInItsColourAndSize) {
  NSTextField view;
  Gtk::Entry entry;
  const EntryMirror mirror(view, entry);
  EXPECT_EQ(entry.get_placeholder_text(), "");
  show(entry);
  const auto grayPixels = [&] {
    const auto picture = Picture::of(entry);
    int count = 0;
    for (int y = 0; y < picture.height(); ++y) {
      for (int x = 0; x < picture.width(); ++x) {
        if (picture.at(x, y) == Pixel{142, 142, 147}) ++count;
      }
    }
    return count;
  };
  EXPECT_EQ(grayPixels(), 0);
  setFormattedPlaceholder(view, "███", 20);
  EXPECT_EQ(entry.get_placeholder_text(), "███");
  const int atTwenty = grayPixels();
  EXPECT_THAT(atTwenty, Ge(400)) << "three squares of about the size of the font";
  setFormattedPlaceholder(view, "███", 40);
  EXPECT_THAT(grayPixels(), Ge(2 * atTwenty));
}

TEST_F(ControlMirrors, ATextViewAndItsValueFollowEachOther) {
  NSClipView clip;
  NSScrollView scroll(clip);
  NSTextView view(scroll);
  view.setString("one");
  Gtk::TextView textView;
  const TextViewMirror mirror(view, textView);
  const auto buffer = textView.get_buffer();
  EXPECT_EQ(buffer->get_text(), "one");
  view.setString("two");
  EXPECT_EQ(buffer->get_text(), "two");
  EXPECT_EQ(view.string(), "two");
  buffer->insert_at_cursor(" and more");
  EXPECT_EQ(view.string(), "two and more");
  view.setString("");
  EXPECT_EQ(buffer->get_text(), "");
}

TEST_F(ControlMirrors, ATextViewThatIsTypedInKeepsItsCursor) {
  NSClipView clip;
  NSScrollView scroll(clip);
  NSTextView view(scroll);
  view.setString("ac");
  Gtk::TextView textView;
  const TextViewMirror mirror(view, textView);
  const auto buffer = textView.get_buffer();
  buffer->place_cursor(buffer->get_iter_at_offset(1));
  buffer->insert_at_cursor("b");
  EXPECT_EQ(view.string(), "abc");
  EXPECT_EQ(buffer->get_insert()->get_iter().get_offset(), 2);
}

TEST_F(ControlMirrors, ATextViewKeepsTheInsetFree) {
  NSClipView clip;
  NSScrollView scroll(clip);
  NSTextView view(scroll);
  Gtk::TextView textView;
  const TextViewMirror mirror(view, textView);
  view.setTextContainerInset({2, 4});
  EXPECT_EQ(textView.get_left_margin(), 2);
  EXPECT_EQ(textView.get_right_margin(), 2);
  EXPECT_EQ(textView.get_top_margin(), 4);
  EXPECT_EQ(textView.get_bottom_margin(), 4);
}

TEST_F(ControlMirrors, WhatIsTypedWithoutAMirrorStaysInTheWidget) {
  NSClipView clip;
  NSScrollView scroll(clip);
  NSTextView view(scroll);
  NSTextField field;
  Gtk::TextView textView;
  Gtk::Entry entry;
  {
    const TextViewMirror mirror(view, textView);
    const EntryMirror entryMirror(field, entry);
  }
  textView.get_buffer()->set_text("typed");
  entry.set_text("typed");
  EXPECT_EQ(view.string(), "");
  EXPECT_EQ(field.stringValue(), "");
}

// The choice.

TEST_F(ControlMirrors, ADropDownAndItsValueFollowEachOther) {
  NSPopUpButton view;
  view.selectItemAtIndex(2);
  Gtk::DropDown dropDown(Gtk::StringList::create({"a", "b", "c"}));
  std::optional<DropDownMirror> mirror(std::in_place, view, dropDown);
  EXPECT_EQ(dropDown.get_selected(), 2U);
  view.selectItemAtIndex(0);
  EXPECT_EQ(dropDown.get_selected(), 0U);
  dropDown.set_selected(1);
  EXPECT_EQ(view.indexOfSelectedItem(), 1);
  dropDown.set_selected(GTK_INVALID_LIST_POSITION);
  EXPECT_EQ(view.indexOfSelectedItem(), 1) << "one item is always chosen";
  mirror.reset();
  dropDown.set_selected(0);
  EXPECT_EQ(view.indexOfSelectedItem(), 1);
}

// The spinner.

TEST_F(ControlMirrors, ASpinnerTurnsOnlyWhileItCanBeSeen) {
  NSProgressIndicator view;
  view.setAlphaValue(0);
  Gtk::Spinner spinner;
  const SpinnerMirror mirror(view, spinner);
  show(spinner);
  EXPECT_FALSE(spinner.get_spinning());
  view.startAnimation();
  EXPECT_FALSE(spinner.get_spinning()) << "it is transparent";
  view.setAlphaValue(1, std::chrono::milliseconds(300));
  EXPECT_TRUE(spinner.get_spinning());
  window->set_visible(false);
  EXPECT_FALSE(spinner.get_spinning()) << "its window is hidden";
  window->set_visible(true);
  EXPECT_TRUE(spinner.get_spinning());
  view.setAlphaValue(0);
  EXPECT_FALSE(spinner.get_spinning());
}

// Where things stand.

TEST_F(ControlMirrors, ASpaceBehindAViewTakesThePlaceOfTheSpaceOfTheBox) {
  NSStackView view;
  NSView icon;
  Gtk::Box box(Gtk::Orientation::VERTICAL, 6);
  Gtk::Label first("icon");
  Gtk::Label second("text");
  box.append(first);
  box.append(second);
  const StackMirror mirror(view, box, {{&icon, &first}});
  show(box);
  const auto space = [&] {
    Picture::of(box);
    double x = 0;
    double y = 0;
    second.translate_coordinates(first, 0, 0, x, y);
    return y - first.get_height();
  };
  EXPECT_EQ(space(), 6);
  view.setCustomSpacing(11, icon);
  EXPECT_EQ(space(), 11);
}

class ClipViewMirrorTest : public GTKTest {
 protected:
  /// Where the content begins, of 300 points.
  double topOfContent(NSClipView& view) {
    Gtk::ScrolledWindow scrolled;
    Gtk::TextView text;
    scrolled.set_child(text);
    const ClipViewMirror mirror(view, scrolled);
    show(scrolled);
    Picture::of(scrolled);
    double x = 0;
    double y = 0;
    text.translate_coordinates(scrolled, 0, 0, x, y);
    window->unset_child();
    return y;
  }
};

TEST_F(ClipViewMirrorTest, AFlippedViewHasItsContentAtTheTop) {
  FlippedClipView view;
  EXPECT_EQ(topOfContent(view), 0);
}

TEST_F(ClipViewMirrorTest, AnotherViewHasItsContentAtTheBottom) {
  NSClipView view;
  EXPECT_THAT(topOfContent(view), Ge(200));
}

}  // namespace
}  // namespace orvane::test
