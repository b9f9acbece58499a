#include <cstddef>

#include <gtest/gtest.h>

#include "Tests/Simulation/TwoSimulatedMachines.h"

namespace orvane::test {
namespace {

/// The process of the first machine dies after so many effects.
class DeathDuringAMerge : public TwoSimulatedMachines,
                          public ::testing::WithParamInterface<std::size_t> {};

TEST_P(DeathDuringAMerge, LeavesTheRuleThatTheCloudHas) {
  ASSERT_TRUE(first.add(rule("1", "of a machine that comes late")));
  ASSERT_TRUE(second.add(rule("1", "of the cloud")));
  run(second);
  first.companion->risk().dieAfter(GetParam());
  run(first);
  first.companion.reset();
  first.companion = std::make_unique<SimulatedCompanion>(world, first.state);
  settle();
  EXPECT_EQ(first.urlFilterOf("1"), "of the cloud");
  EXPECT_EQ(second.urlFilterOf("1"), "of the cloud");
  EXPECT_FALSE(first.isWaiting("AddedRules"));
}

INSTANTIATE_TEST_SUITE_P(Effects, DeathDuringAMerge, ::testing::Range<std::size_t>(0, 40));

}  // namespace
}  // namespace orvane::test
