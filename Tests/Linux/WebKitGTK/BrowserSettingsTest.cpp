#include <fstream>
#include <iterator>

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
  std::string text() const {
    std::ifstream file(settings.file());
    return {std::istreambuf_iterator<char>(file), {}};
  }
  TemporaryDirectory folder;
  BrowserSettings settings{folder / "browser.ini"};
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

TEST_F(Settings, rememberTheSwitchInAFolderThatWasNotThere) {
  const BrowserSettings fresh(folder / "config/orvane/browser.ini");
  ASSERT_TRUE(fresh.setContentBlockerEnabled("com.example.blocker", false));
  EXPECT_EQ(fresh.isContentBlockerEnabled("com.example.blocker"), false);
  EXPECT_EQ(fresh.isContentBlockerEnabled("com.example.other"), true);
  ASSERT_TRUE(fresh.setContentBlockerEnabled("com.example.blocker", true));
  EXPECT_EQ(fresh.isContentBlockerEnabled("com.example.blocker"), true);
}

TEST_F(Settings, keepWhateverElseTheFileSays) {
  std::ofstream(settings.file()) << "# Mine\n\n[Other]\nkey=value\nkey[de]=Wert\n\n"
                                    "[Content Blockers]\n# off for now\n"
                                    "com.example.blocker=false\ncom.example.other=false\n";
  ASSERT_TRUE(settings.setContentBlockerEnabled("com.example.blocker", true));
  EXPECT_EQ(text(),
            "# Mine\n\n[Other]\nkey=value\nkey[de]=Wert\n\n"
            "[Content Blockers]\n# off for now\n"
            "com.example.blocker=true\ncom.example.other=false\n");
}

TEST_F(Settings, correctAValueThatMakesNoSense) {
  std::ofstream(settings.file()) << "[Content Blockers]\ncom.example.blocker=perhaps\n";
  ASSERT_TRUE(settings.setContentBlockerEnabled("com.example.blocker", false));
  EXPECT_EQ(settings.isContentBlockerEnabled("com.example.blocker"), false);
}

TEST_F(Settings, leaveAFileThatTheyCannotUnderstandAsItIs) {
  std::ofstream(settings.file()) << "no key file";
  EXPECT_FALSE(settings.setContentBlockerEnabled("com.example.blocker", true));
  EXPECT_EQ(text(), "no key file");
}

TEST_F(Settings, leaveAFileThatTheyCannotReadAsItIs) {
  std::filesystem::create_directory(settings.file());
  EXPECT_FALSE(settings.setContentBlockerEnabled("com.example.blocker", true));
  EXPECT_TRUE(std::filesystem::is_directory(settings.file()));
}

}  // namespace
}  // namespace orvane::test
