#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using ::testing::IsSupersetOf;

constexpr int burst = 1000;

class Burst : public ::testing::Test {
 protected:
  Burst() {
    extension.makeARoundTrip();
    extension.answers = 0;
  }

  /// The same signal without the wait for the disk, which is what most of the time goes to.
  void sendFast() {
    EXPECT_TRUE(extension.process.defaults().setObject(extension.machine.platform().makeUUID(),
                                                       "reloadRulesFromDisk"));
  }
  int writes() { return home.linesWith("blockers to Safari JSON"); }

  UserHome home{UserHome::Compiler::scripted};
  Extension extension{home.log()};
  std::unique_ptr<ChildProcess> companion = home.startCompanion();
};

/// One list is being compiled, and one more is written when that has ended.
TEST_F(Burst, thatComesWhileAListIsCompiledEndsInOneMoreWrite) {
  const int before = writes();
  auto held = home.holdCompiler();
  extension.send();
  extension.waitUntil([&] { return home.somebodyWaitsForTheCompiler(); });
  for (int i = 1; i <= burst; ++i) {
    if (i % (burst / 4) == 0) {
      EXPECT_TRUE(extension.block("after-" + std::to_string(i)));
    }
    sendFast();
  }
  held.reset();
  extension.waitForAnswers(2);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.urlFilters(), IsSupersetOf({"after-250", "after-1000"}));
  EXPECT_EQ(writes() - before, 2);
  extension.makeARoundTrip();
  EXPECT_EQ(extension.answers, 3);
  EXPECT_EQ(writes() - before, 3);
}

/// Each list is compiled before the next is written.
TEST_F(Burst, thatComesWhileTheCompanionWorksEndsInTheLatestState) {
  const int before = writes();
  const int answersBefore = home.linesWith("Reloaded Safari");
  for (int i = 1; i <= burst; ++i) {
    if (i % (burst / 4) == 0) {
      EXPECT_TRUE(extension.block("after-" + std::to_string(i)));
    }
    extension.send();
    extension.loop.runUntilIdle();
  }
  extension.waitUntil([&] {
    const auto filters = home.urlFilters();
    return std::find(filters.begin(), filters.end(), "after-1000") != filters.end() &&
           home.browserHasTheList();
  });
  extension.makeARoundTrip();
  EXPECT_THAT(home.urlFilters(), IsSupersetOf({"after-250", "after-1000"}));
  EXPECT_EQ(writes() - before, home.linesWith("Reloaded Safari") - answersBefore);
  EXPECT_LE(extension.answers, writes() - before);
  EXPECT_LT(writes() - before, burst);
  RecordProperty("writes", writes() - before);
}

}  // namespace
}  // namespace orvane::test
