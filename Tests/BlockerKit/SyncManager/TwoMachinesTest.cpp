#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

class TwoMachines : public ::testing::Test {
 protected:
  /// The first machine's changes are pushed, and fetched by the second.
  void sync(SyncingMachine& from, SyncingMachine& to) {
    from.sync->pushAllLocalUpdates(1);
    from.run();
    to.sync->update({});
    to.run();
    to.sync->fetchRemoteChanges(nullptr);
    to.run();
  }

  SyncingMachine first;
  SyncingMachine second{anotherMachine(first)};
};

TEST_F(TwoMachines, ARuleOfOneIsTheOthersToo) {
  ASSERT_TRUE(first.add(blockRule("a")));
  sync(first, second);
  EXPECT_THAT(second.rules().value(), ElementsAre("a"));
  EXPECT_EQ(second.reloads, 1U);
}

}  // namespace
}  // namespace orvane::test
