#include "Tests/Apps/Browser/BrowserFixture.h"

namespace orvane::test {
namespace {

class NarrowWindow : public BrowserTest {
 protected:
  static constexpr int narrow = 400;

  static int smallestWidth(Gtk::Widget& widget) {
    int smallest = 0;
    int natural = 0;
    int baseline = 0;
    widget.measure(Gtk::Orientation::HORIZONTAL, -1, smallest, natural, baseline, baseline);
    return smallest;
  }
};

TEST_F(NarrowWindow, holdsEverything) {
  serve("news.test", "/", "<title>A title that is much longer than a narrow window is</title>");
  startAt("http://news.test/");
  for (int count = 0; count < 5; ++count) window().openTab("http://news.test/");
  front().findBar().open();
  front().findBar().entry().set_text("nothing of this is on the page");
  window().window().set_default_size(narrow, 600);
  EXPECT_TRUE(becomes([&] { return window().window().get_width() <= narrow; }));
  EXPECT_LE(smallestWidth(window().window()), narrow);
}

TEST_F(NarrowWindow, leavesTheAddressRoomToBeRead) {
  start();
  window().window().set_default_size(narrow, 600);
  ASSERT_TRUE(becomes([&] { return window().window().get_width() <= narrow; }));
  constexpr int readable = 160;
  EXPECT_TRUE(becomes([&] { return window().address().get_width() >= readable; }));
  constexpr int wide = 1000;
  window().window().set_default_size(wide, 600);
  EXPECT_TRUE(becomes([&] { return window().address().get_width() >= wide / 2; }));
}

TEST_F(NarrowWindow, holdsWhatIsSaidInPlaceOfAPage) {
  start({"file:///a/path/that/is/longer/than/a/narrow/window/is/and/has/no/blank/page.html"});
  ASSERT_TRUE(becomes([&] { return front().notice().title() == "This Page Cannot Be Loaded"; }));
  EXPECT_LE(smallestWidth(window().window()), narrow);
}

TEST_F(NarrowWindow, holdsTheSettings) {
  start();
  press("ctrl+comma");
  ASSERT_TRUE(becomes([&] { return browser_->settings() != nullptr; }));
  EXPECT_LE(smallestWidth(*browser_->settings()), narrow);
}

}  // namespace
}  // namespace orvane::test
