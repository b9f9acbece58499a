#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "Linux/LinuxPlatform.h"
#include "SafariExtension/Reload/Communication.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class ThisMachine : public ::testing::Test {
 protected:
  static constexpr const char* group = "Q4XR7T2M9V.com.tessaly.Blocker";

  void SetUp() override {
    ASSERT_EQ(::setenv("HOME", home.path().c_str(), 1), 0);
    for (const auto* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"}) {
      ASSERT_EQ(::unsetenv(name), 0);
    }
    // What would be kept in the current folder is to be noticed.
    std::filesystem::current_path(work.path());
  }
  void TearDown() override {
    EXPECT_TRUE(std::filesystem::is_empty(work.path()));
    std::filesystem::current_path("/");
  }

  /// How often an observer in this process hears of a signal that this process sends.
  int calls(LinuxPlatform& machine) {
    auto& defaults = sharedUserDefaults(machine.platform());
    int called = 0;
    const auto observation = defaults.addObserver("reloadTab", [&] { ++called; });
    Communication communication(machine.platform(), defaults);
    communication.send(Communication::Message::reloadTab);
    communication.send(Communication::Message::reloadRulesFromDisk);
    communication.send(Communication::Message::reloadTab);
    loop.runUntil([&] { return called >= 2; });
    loop.runUntilIdle();
    return called;
  }

  TemporaryDirectory home;
  TemporaryDirectory work;
  RecordingOutput systemLog;
  MainLoop loop;
};

TEST_F(ThisMachine, opensTheSuiteOfTheGroup) {
  LinuxPlatform machine(group, STDOUT_FILENO, systemLog);
  auto* suite = machine.platform().userDefaultsSuite(group);
  ASSERT_NE(suite, nullptr);
  EXPECT_EQ(machine.platform().userDefaultsSuite(group), suite);
  EXPECT_EQ(&sharedUserDefaults(machine.platform()), suite);
  EXPECT_TRUE(std::filesystem::exists(
      home / (".local/share/orvane/" + std::string(group) + "/UserDefaults.sqlite")));
  EXPECT_THAT(systemLog.lines, IsEmpty());
  EXPECT_EQ(calls(machine), 2);
}

TEST_F(ThisMachine, hasNoSuiteOfAnotherName) {
  LinuxPlatform machine(group, STDOUT_FILENO, systemLog);
  EXPECT_EQ(machine.platform().userDefaultsSuite("com.example.Other"), nullptr);
  EXPECT_EQ(machine.platform().userDefaultsSuite(""), nullptr);
}

TEST_F(ThisMachine, keepsSignalsInsideTheProcessWhenTheContainerCannotBeMade) {
  std::ofstream(home / "file") << "not a folder";
  ASSERT_EQ(::setenv("XDG_DATA_HOME", (home / "file").c_str(), 1), 0);
  LinuxPlatform machine(group, STDOUT_FILENO, systemLog);
  EXPECT_EQ(machine.platform().userDefaultsSuite(group), nullptr);
  EXPECT_EQ(&sharedUserDefaults(machine.platform()), &machine.platform().standardUserDefaults);
  EXPECT_THAT(systemLog.lines, Not(IsEmpty()));
  EXPECT_EQ(calls(machine), 2);
}

TEST_F(ThisMachine, keepsSignalsInsideTheProcessWhenThereIsNoHomeFolder) {
  ASSERT_EQ(::unsetenv("HOME"), 0);
  LinuxPlatform machine(group, STDOUT_FILENO, systemLog);
  EXPECT_EQ(machine.platform().userDefaultsSuite(group), nullptr);
  EXPECT_THAT(systemLog.lines, Not(IsEmpty()));
  EXPECT_EQ(calls(machine), 2);
}

TEST_F(ThisMachine, leavesADamagedSuiteAsItIsAndKeepsSignalsInsideTheProcess) {
  const auto container = home / (".local/share/orvane/" + std::string(group));
  std::filesystem::create_directories(container);
  std::ofstream(container / "UserDefaults.sqlite") << std::string(8192, 'x');
  LinuxPlatform machine(group, STDOUT_FILENO, systemLog);
  EXPECT_EQ(machine.platform().userDefaultsSuite(group), nullptr);
  ASSERT_THAT(systemLog.lines, Not(IsEmpty()));
  EXPECT_THAT(systemLog.lines.front(), HasSubstr("UserDefaults.sqlite"));
  EXPECT_EQ(calls(machine), 2);
  EXPECT_EQ(std::filesystem::file_size(container / "UserDefaults.sqlite"), 8192U);
}

}  // namespace
}  // namespace orvane::test
