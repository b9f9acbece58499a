#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/Posix/SingleInstance.h"
#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using ::testing::Contains;

constexpr int rulesOfABusyCompanion = 20'000;

class EndingCompanion : public ::testing::Test {
 protected:
  explicit EndingCompanion(int rules = 2) : home(UserHome::Compiler::scripted, rules) {
    companion = home.startCompanion();
    extension.makeARoundTrip();
    extension.answers = 0;
  }

  void expectThatTheNextOneTakesOver() {
    const auto next = home.startCompanion();
    held.reset();
    extension.waitForAnswers(1);
    EXPECT_TRUE(home.browserHasTheList());
    EXPECT_THAT(home.urlFilters(), Contains("mine"));
    EXPECT_FALSE(next->hasEnded());
    extension.makeARoundTrip();
    EXPECT_EQ(extension.answers, 2);
  }

  UserHome home;
  Extension extension{home.log()};
  std::unique_ptr<ChildProcess> companion;
  std::shared_ptr<void> held;
};

class EndingBusyCompanion : public EndingCompanion {
 protected:
  EndingBusyCompanion() : EndingCompanion(rulesOfABusyCompanion) {}
};

TEST_F(EndingCompanion, endsAtEachOfTheSignalsThatAskForIt) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    companion->signal(number);
    EXPECT_EQ(companion->exitStatus(), 0);
    companion = home.startCompanion();
    extension.makeARoundTrip();
  }
}

TEST_F(EndingCompanion, doesNotWaitForTheBrowsersCompiler) {
  held = home.holdCompiler();
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return home.somebodyWaitsForTheCompiler(); });
  companion->signal(SIGTERM);
  EXPECT_EQ(companion->exitStatus(), 0);
  EXPECT_TRUE(home.isEnforcedListIntact());
  EXPECT_EQ(extension.answers, 0);
  expectThatTheNextOneTakesOver();
}

/// The next one waits for the one that ends, rather than to leave the work to it.
TEST_F(EndingCompanion, isFollowedByOneThatStartsBeforeItHasEnded) {
  for (int round = 0; round < 10; ++round) {
    companion->signal(SIGTERM);
    // The end is announced by emptying the file.
    extension.waitUntil(
        [&] { return !SingleInstance::isHeld(home.container() / "Companion.lock"); });
    auto next = home.startCompanion();
    EXPECT_EQ(companion->exitStatus(), 0);
    extension.makeARoundTrip();
    EXPECT_FALSE(next->hasEnded());
    companion = std::move(next);
  }
}

TEST_F(EndingBusyCompanion, endsWhileItBuildsALargeList) {
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  // The moments differ: the reading begins soon after the signal, and the writing ends much later.
  companion->signal(SIGTERM);
  EXPECT_EQ(companion->exitStatus(), 0);
  bool isValid = false;
  EXPECT_GE(home.urlFilters(&isValid).size(), static_cast<std::size_t>(rulesOfABusyCompanion));
  EXPECT_TRUE(isValid);
  expectThatTheNextOneTakesOver();
}

TEST_F(EndingBusyCompanion, endsOnceALargeListIsWritten) {
  const int before = home.linesWith("blockers to Safari JSON");
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return home.linesWith("blockers to Safari JSON") > before; });
  companion->signal(SIGTERM);
  EXPECT_EQ(companion->exitStatus(), 0);
  EXPECT_EQ(home.urlFilters().size(), static_cast<std::size_t>(rulesOfABusyCompanion) + 2);
  EXPECT_LE(extension.answers, 1);
}

}  // namespace
}  // namespace orvane::test
