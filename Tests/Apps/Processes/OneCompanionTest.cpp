#include <csignal>

#include <gtest/gtest.h>

#include "Linux/Posix/SingleInstance.h"
#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

class OneCompanion : public ::testing::Test {
 protected:
  std::unique_ptr<ChildProcess> start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), home.program());
    return std::make_unique<ChildProcess>(
        arguments, ChildProcess::Options{.log = home.log(), .hasOutput = true});
  }

  UserHome home{UserHome::Compiler::scripted};
  Extension extension{home.log()};
};

TEST_F(OneCompanion, theSecondSaysThatOrvaneRunsAlreadyAndEnds) {
  const auto first = home.startCompanion();
  extension.makeARoundTrip();
  for (int time = 0; time < 3; ++time) {
    const auto second = start({"--hidden"});
    EXPECT_EQ(second->rest(), "Orvane is running already.\n");
    EXPECT_EQ(second->exitStatus(), 0);
  }
  extension.makeARoundTrip();
  EXPECT_EQ(extension.answers, 2);
  EXPECT_FALSE(first->hasEnded());
}

TEST_F(OneCompanion, twoThatStartTogetherEndAsOne) {
  std::vector<std::unique_ptr<ChildProcess>> companions;
  for (int i = 0; i < 2; ++i) companions.push_back(home.startCompanion());
  const auto ended = [&] {
    return std::count_if(companions.begin(), companions.end(),
                         [](const auto& companion) { return companion->hasEnded(); });
  };
  extension.waitUntil([&] { return ended() == 1; });
  EXPECT_EQ(home.linesWith("Orvane is running already."), 1);
  extension.makeARoundTrip();
  EXPECT_EQ(ended(), 1);
}

TEST_F(OneCompanion, theNextOneTakesOverFromOneThatWasKilled) {
  home.startCompanion()->kill();
  auto working = home.startCompanion();
  extension.makeARoundTrip();
  working->kill();
  const auto next = home.startCompanion();
  extension.makeARoundTrip();
  EXPECT_FALSE(next->hasEnded());
}

/// Whoever starts the companion relies on its being there for the next signals.
TEST_F(OneCompanion, waitsForARebuildThatSomebodyHasOrdered) {
  auto held = home.holdCompiler();
  const auto rebuild = start({"rebuild"});
  extension.waitUntil([&] { return home.somebodyWaitsForTheCompiler(); });
  ASSERT_FALSE(SingleInstance::isHeld(home.container() / "Companion.lock"));
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  const auto companion = home.startCompanion();
  held.reset();
  EXPECT_EQ(rebuild->exitStatus(), 0);
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_FALSE(companion->hasEnded());
}

}  // namespace
}  // namespace orvane::test
