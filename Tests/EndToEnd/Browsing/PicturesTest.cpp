#include <cstdlib>
#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/EndToEnd/Browsing/Desk.h"
#include "Tests/EndToEnd/Browsing/ScreenPicture.h"

namespace orvane::test {
namespace {

constexpr const char* longHost =
    "articles.static.regional-newspaper-of-the-northern-harbour.example";

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// Saves how the browser looks, for people to look at: in the colours and at the scale that the
/// environment says, in a wide and in a narrow window. Each picture must show something.
class Pictures : public ::testing::TestWithParam<int> {
 protected:
  Pictures() {
    desk.serveNewspaper(longHost);
    desk.startBrowser(variable("ORVANE_COLORS") == "dark" ? ColorScheme::dark : ColorScheme::light,
                      GetParam());
    desk.waitForList();
    desk.open(fmt::format("http://{}/", longHost));
  }

  void save(const std::string& name, GtkWidget* window) {
    desk.waitForFrames(window);
    const auto file = fmt::format("{}/{}-{}-{}-{}.png", ORVANE_PICTURES, name, GetParam(),
                                  variable("ORVANE_COLORS"), scale * 100);
    const auto picture = takePicture(window, file);
    EXPECT_EQ(picture.width, gtk_widget_get_width(window) * scale) << file;
    EXPECT_GT(picture.colours, 30U) << file << " shows next to nothing";
  }
  void save(const std::string& name) { save(name, desk.window()); }

  Desk desk;
  int scale = gtk_widget_get_scale_factor(desk.window());
};

TEST_P(Pictures, OfTheBrowserItsPopoverThePickingModeAndTheSettings) {
  EXPECT_EQ(std::to_string(scale), variable("GDK_SCALE"));
  EXPECT_LE(gtk_widget_get_width(desk.window()), GetParam());
  save("browser");
  desk.openPopover();
  save("popover");
  desk.press("💬 Report a Problem");
  desk.until("the form is there", [this] { return desk.hasButton("Send Report"); });
  save("report");
  desk.press("Back");
  desk.press("👁 Hide an Element");
  desk.waitForPicker();
  desk.pointAtPage("document.getElementById('house-banner')");
  save("picking");
  desk.pressKeys("Escape");
  desk.waitForNoPicker();
  save("settings", desk.openSettings());
}

INSTANTIATE_TEST_SUITE_P(Width, Pictures, ::testing::Values(1000, 400),
                         [](const auto& width) { return fmt::format("of{}", width.param); });

}  // namespace
}  // namespace orvane::test
