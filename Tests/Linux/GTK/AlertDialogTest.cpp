#include <algorithm>
#include <vector>

#include <gmock/gmock.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>

#include "Linux/GTK/AlertDialog.h"
#include "Tests/Linux/GTK/GTKTest.h"
#include "Tests/Linux/GTK/Picture.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

template <typename Widget>
void collect(Gtk::Widget& root, std::vector<Widget*>& found) {
  if (auto* widget = dynamic_cast<Widget*>(&root)) found.push_back(widget);
  for (auto* child = root.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
    collect(*child, found);
  }
}

template <typename Widget>
std::vector<Widget*> all(Gtk::Widget& root) {
  std::vector<Widget*> found;
  collect(root, found);
  return found;
}

class AlertDialogTest : public GTKTest {
 protected:
  void SetUp() override {
    GTKTest::SetUp();
    window->present();
    loop.runUntil([&] { return window->get_mapped(); });
    run = makeRunAlertModal(*window, ORVANE_RESOURCES);
  }
  void TearDown() override {
    run = nullptr;
    GTKTest::TearDown();
  }

  void show(const NSAlert& shown) {
    run(shown, [this] { ++completions; });
    loop.runUntil([&] { return !dialogs().empty() && dialogs().back()->get_mapped(); });
  }
  /// The windows other than the parent.
  std::vector<Gtk::Window*> dialogs() const {
    auto windows = Gtk::Window::list_toplevels();
    std::erase(windows, window.get());
    return windows;
  }
  Gtk::Window& dialog() { return *dialogs().at(0); }
  static gboolean pressKey(Gtk::Window& dialog, guint key) {
    gboolean isUsed = FALSE;
    g_signal_emit_by_name(controllerOf(dialog, GTK_TYPE_EVENT_CONTROLLER_KEY), "key-pressed", key,
                          0U, static_cast<GdkModifierType>(0), &isUsed);
    return isUsed;
  }

  const NSAlert alert{.alertStyle = NSAlertStyle::informational,
                      .messageText = "Feedback is Welcome",
                      .informativeText = "We read all emails.\nThanks.",
                      .icon = "friends",
                      .buttonTitles = {"OK, I understand 💜", "Later"}};
  RunAlertModal run;
  int completions = 0;
};

TEST_F(AlertDialogTest, ShowsTheAlertBeforeItsParent) {
  show(alert);
  ASSERT_THAT(dialogs(), SizeIs(1));
  EXPECT_TRUE(dialog().get_modal());
  EXPECT_EQ(dialog().get_transient_for(), window.get());
  EXPECT_EQ(dialog().get_title(), "Feedback is Welcome");
  std::vector<std::string> texts;
  for (auto* label : all<Gtk::Label>(dialog())) texts.push_back(label->get_text());
  EXPECT_THAT(texts, Contains("Feedback is Welcome"));
  EXPECT_THAT(texts, Contains("We read all emails.\nThanks."));
  EXPECT_THAT(texts, Contains("OK, I understand 💜"));
  EXPECT_THAT(texts, Contains("Later"));
  EXPECT_EQ(completions, 0);
}

TEST_F(AlertDialogTest, ShowsTheImage) {
  show(alert);
  const auto images = all<Gtk::Image>(dialog());
  ASSERT_FALSE(images.empty());
  const auto picture = Picture::of(*images.front());
  ASSERT_GE(picture.width(), 96);
  std::vector<Pixel> colors;
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) colors.push_back(picture.at(x, y));
  }
  EXPECT_THAT(colors, Contains(Pixel{0x5a, 0xa9, 0xff})) << "a coat";
  EXPECT_THAT(colors, Contains(Pixel{0xb9, 0x7a, 0x56})) << "a face";
}

TEST_F(AlertDialogTest, AnImageThatIsNotThereIsLeftOut) {
  auto withoutImage = alert;
  withoutImage.icon = "strangers";
  show(withoutImage);
  EXPECT_EQ(all<Gtk::Image>(dialog()).front()->get_storage_type(), Gtk::Image::Type::EMPTY);
}

TEST_F(AlertDialogTest, TheFirstButtonIsTheOneThatEnterPresses) {
  show(alert);
  auto* first = dialog().get_default_widget();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(dynamic_cast<Gtk::Button&>(*first).get_label(), "OK, I understand 💜");
  EXPECT_EQ(dialog().get_focus(), first);
}

TEST_F(AlertDialogTest, EachButtonDismissesIt) {
  for (const char* title : {"OK, I understand 💜", "Later"}) {
    show(alert);
    for (auto* button : all<Gtk::Button>(dialog())) {
      if (button->get_label() == title) press(*button);
    }
    EXPECT_EQ(completions, 0) << "not inside the press";
    loop.runUntil([&] { return completions == 1; });
    EXPECT_THAT(dialogs(), IsEmpty());
    completions = 0;
  }
}

TEST_F(AlertDialogTest, EscapeDismissesItAndOtherKeysDoNot) {
  show(alert);
  EXPECT_FALSE(pressKey(dialog(), GDK_KEY_a));
  loop.runUntilIdle();
  ASSERT_THAT(dialogs(), SizeIs(1));
  EXPECT_TRUE(pressKey(dialog(), GDK_KEY_Escape));
  loop.runUntil([&] { return completions == 1; });
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(AlertDialogTest, ClosingDismissesItOnce) {
  show(alert);
  for (int presses = 0; presses < 3; ++presses) dialog().close();
  loop.runUntil([&] { return completions > 0; });
  loop.runUntilIdle();
  EXPECT_EQ(completions, 1);
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(AlertDialogTest, AlertsMayStandTogether) {
  show(alert);
  run(alert, [this] { completions += 10; });
  loop.runUntil([&] { return dialogs().size() == 2; });
  dialogs().front()->close();
  loop.runUntil([&] { return completions > 0; });
  EXPECT_THAT(dialogs(), SizeIs(1));
  dialogs().front()->close();
  loop.runUntil([&] { return completions == 11; });
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(AlertDialogTest, ACompletionMayShowTheNextAlertOrEndThemAll) {
  run(alert, [this] {
    run(alert, [this] {
      run = nullptr;
      ++completions;
    });
  });
  loop.runUntil([&] { return dialogs().size() == 1; });
  dialog().close();
  loop.runUntil([&] { return !dialogs().empty() && dialog().get_visible(); });
  dialog().close();
  loop.runUntil([&] { return completions == 1; });
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(AlertDialogTest, AnAlertGoesWithItsParent) {
  show(alert);
  window.reset();
  EXPECT_THAT(dialogs(), IsEmpty());
  loop.runUntilIdle();
  EXPECT_EQ(completions, 0) << "nobody dismissed it";
}

TEST_F(AlertDialogTest, AnAlertThatWasJustDismissedGoesWithItsParentToo) {
  show(alert);
  dialog().close();
  window.reset();
  loop.runUntilIdle();
  EXPECT_EQ(completions, 0);
  EXPECT_THAT(dialogs(), IsEmpty());
}

TEST_F(AlertDialogTest, AnAlertWithoutAParentStandsAlone) {
  window.reset();
  show(alert);
  EXPECT_EQ(dialog().get_transient_for(), nullptr);
  dialog().close();
  loop.runUntil([&] { return completions == 1; });
}

TEST_F(AlertDialogTest, AlertsGoWithTheFunctionThatShowsThem) {
  show(alert);
  run = nullptr;
  EXPECT_THAT(dialogs(), IsEmpty());
  loop.runUntilIdle();
  EXPECT_EQ(completions, 0);
}

}  // namespace
}  // namespace orvane::test
