#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/Posix/SingleInstance.h"
#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using ::testing::Contains;

class StartingCompanion : public ::testing::Test {
 protected:
  UserHome home{UserHome::Compiler::scripted};
  Extension extension{home.log()};
};

TEST_F(StartingCompanion, answersSignalsThatWereSentBeforeOnce) {
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.send();
  const auto companion = home.startCompanion();
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.urlFilters(), Contains("mine"));
  extension.makeARoundTrip();
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(StartingCompanion, answersAPauseThatWasMadeBefore) {
  extension.setPaused(true);
  const auto companion = home.startCompanion();
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_EQ(home.urlFilters().size(), 1U) << "the placeholder";
}

/// The moments differ from start to start; at each the change is in the list once it is answered.
TEST_F(StartingCompanion, losesNoSignalThatIsSentWhileItStarts) {
  for (int round = 0; round < 10; ++round) {
    const auto name = "mine-" + std::to_string(round);
    const int before = extension.answers;
    const auto companion = home.startCompanion();
    // The file of the process number is written at the very start, the list at the end.
    const auto moment = round % 3;
    const int earlier = home.linesWith("blockers to Safari JSON");
    extension.waitUntil([&] {
      return moment == 0 ||
             (moment == 1 && SingleInstance::isHeld(home.container() / "Companion.lock")) ||
             home.linesWith("blockers to Safari JSON") > earlier;
    });
    EXPECT_TRUE(extension.block(name));
    extension.send();
    extension.waitUntil([&] {
      const auto filters = home.urlFilters();
      return std::find(filters.begin(), filters.end(), name) != filters.end() &&
             home.browserHasTheList() && extension.answers > before;
    });
    companion->signal(SIGTERM);
    EXPECT_EQ(companion->exitStatus(), 0);
    extension.loop.runUntilIdle();
    EXPECT_EQ(extension.answers, before + 1);
  }
}

TEST_F(StartingCompanion, answersASignalWhoseCompanionWasKilledBeforeItCould) {
  auto first = home.startCompanion();
  extension.makeARoundTrip();
  auto held = home.holdCompiler();
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return home.somebodyWaitsForTheCompiler(); });
  first->kill();
  EXPECT_EQ(extension.answers, 1);
  const auto second = home.startCompanion();
  held.reset();
  extension.waitForAnswers(2);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.urlFilters(), Contains("mine"));
}

}  // namespace
}  // namespace orvane::test
