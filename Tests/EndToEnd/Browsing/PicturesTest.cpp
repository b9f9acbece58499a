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

/// What the environment asks for: "dark-2" is dark at a scale of 200 %. To be made before GTK is.
struct Look {
  Look() { ::setenv("GDK_SCALE", text.substr(text.size() - 1).c_str(), 1); }

  std::string text = std::getenv("ORVANE_LOOK") == nullptr ? "light-1" : std::getenv("ORVANE_LOOK");
  ColorScheme colors = text.starts_with("dark") ? ColorScheme::dark : ColorScheme::light;
};

/// Saves how the browser looks, for people to look at: in the colours and at the scale that the
/// environment says, in a wide and in a narrow window. Each picture must show something.
class Pictures : public ::testing::TestWithParam<int> {
 protected:
  Pictures() {
    desk.serveNewspaper(longHost);
    desk.startBrowser(look.colors, GetParam());
    desk.waitForList();
    desk.open(fmt::format("http://{}/", longHost));
  }

  void save(const std::string& name, GtkWidget* window) {
    desk.waitForFrames(window);
    const auto file = fmt::format("{}/{}-{}-{}.png", ORVANE_PICTURES, look.text, GetParam(), name);
    const auto picture = takePicture(window, file);
    EXPECT_GE(picture.width, gtk_widget_get_width(window)) << file;
    EXPECT_GT(picture.colours, 30U) << file << " shows next to nothing";
  }
  void save(const std::string& name) { save(name, desk.window()); }

  Look look;
  Desk desk;
};

TEST_P(Pictures, OfTheBrowserItsPopoverThePickingModeAndTheSettings) {
  EXPECT_EQ(gtk_widget_get_scale_factor(desk.window()), look.text.back() - '0');
  EXPECT_LE(gtk_widget_get_width(desk.window()), GetParam());
  desk.waitUntilPageIsPainted();
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
  desk.waitUntilPageIsPainted();
  save("picking");
  desk.pressKeys("Escape");
  desk.waitForNoPicker();
  save("settings", desk.openSettings());
}

INSTANTIATE_TEST_SUITE_P(Width, Pictures, ::testing::Values(1000, 400),
                         [](const auto& width) { return fmt::format("of{}", width.param); });

}  // namespace
}  // namespace orvane::test
