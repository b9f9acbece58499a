#include <fstream>

#include <gtest/gtest.h>

#include "Linux/WebKitGTK/BrowserSettings.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

class Settings : public ::testing::Test {
 protected:
  Expected<bool> with(const std::string& text) {
    std::ofstream(folder / "browser.ini") << text;
    return BrowserSettings(folder / "browser.ini").isContentBlockerEnabled("com.example.blocker");
  }
  TemporaryDirectory folder;
};

TEST_F(Settings, contentBlockerIsEnabledUntilTheUserSaysOtherwise) {
  EXPECT_EQ(BrowserSettings(folder / "missing.ini").isContentBlockerEnabled("x"), true);
  EXPECT_EQ(with(""), true);
  EXPECT_EQ(with("[Content Blockers]\ncom.example.other=false\n"), true);
}

TEST_F(Settings, userSwitchesAContentBlockerOffAndOn) {
  EXPECT_EQ(with("[Content Blockers]\ncom.example.blocker=false\n"), false);
  EXPECT_EQ(with("[Content Blockers]\ncom.example.blocker=true\n"), true);
}

TEST_F(Settings, fileThatMakesNoSenseIsAnError) {
  EXPECT_FALSE(with("no key file"));
  EXPECT_FALSE(with("[Content Blockers]\ncom.example.blocker=perhaps\n"));
  EXPECT_FALSE(BrowserSettings(folder.path()).isContentBlockerEnabled("x"));
}

}  // namespace
}  // namespace orvane::test
