#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/ProgramRun.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

/// The project installed as a package builder does it, into a folder that stands for the root.
class Installation : public ::testing::Test {
 protected:
  Installation() {
    const auto run =
        runProgram({"cmake", "--install", ORVANE_BUILD}, work.path(), {{"DESTDIR", root.path()}});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
  }

  std::filesystem::path installed(const std::string& path) { return root.path().string() + path; }

  /// What follows "KEY=" in a file.
  static std::string value(const std::filesystem::path& file, const std::string& key) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
      if (line.starts_with(key + "=")) return line.substr(key.size() + 1);
    }
    return "";
  }

  TemporaryDirectory root;
  TemporaryDirectory work;
  const std::string prefix = ORVANE_PREFIX;
};

TEST_F(Installation, unitOfTheUserStartsTheInstalledProgramInTheBackground) {
  const auto unit = installed(prefix + "/lib/systemd/user/orvane.service");
  ASSERT_TRUE(std::filesystem::exists(unit));
  EXPECT_EQ(value(unit, "ExecStart"), prefix + "/bin/orvane --hidden");
  EXPECT_TRUE(std::filesystem::exists(installed(prefix + "/bin/orvane")));
}

TEST_F(Installation, desktopStartsTheInstalledProgramInTheBackground) {
  const auto file = installed(std::string(ORVANE_SYSCONFDIR) + "/xdg/autostart/orvane.desktop");
  ASSERT_TRUE(std::filesystem::exists(file));
  EXPECT_EQ(value(file, "Exec"), prefix + "/bin/orvane --hidden");
  const auto validation = runProgram({"desktop-file-validate", file.string()}, work.path());
  EXPECT_EQ(validation.exitStatus, 0) << validation.output << validation.errors;
}

TEST_F(Installation, programFindsItsHelperAndItsPackages) {
  EXPECT_TRUE(std::filesystem::exists(installed(prefix + "/bin/orvane-compile")));
  const auto run = runProgram({installed(prefix + "/bin/orvane"), "packages"}, work.path(),
                              {{"HOME", work.path()},
                               {"XDG_DATA_HOME", work / "data"},
                               {"XDG_CONFIG_HOME", work / "config"},
                               {"XDG_STATE_HOME", work / "state"}});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_THAT(run.output, ::testing::HasSubstr("block-ads"));
}

TEST_F(Installation, browserFindsThePageScript) {
  EXPECT_TRUE(std::filesystem::exists(installed(prefix + "/share/orvane/PageScript/Messages.js")));
}

TEST_F(Installation, desktopOffersTheBrowser) {
  const auto file = installed(prefix + "/share/applications/com.tessaly.OrvaneBrowser.desktop");
  const auto validation = runProgram({"desktop-file-validate", file.string()}, work.path());
  EXPECT_EQ(validation.exitStatus, 0) << validation.output << validation.errors;
  EXPECT_EQ(value(file, "Exec"), "orvane-browser %U");
  const auto icon = value(file, "Icon") + ".svg";
  EXPECT_TRUE(
      std::filesystem::exists(installed(prefix + "/share/icons/hicolor/scalable/apps/" + icon)));
  const auto run =
      runProgram({installed(prefix + "/bin/orvane-browser"), "--version"}, work.path());
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_THAT(run.output, ::testing::StartsWith("orvane-browser "));
}

}  // namespace
}  // namespace orvane::test
