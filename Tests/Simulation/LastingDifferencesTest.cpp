#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Simulation/TwoSimulatedMachines.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What the rules of sync leave different on two machines for good, or give up. The simulation
/// excuses exactly this.
using LastingDifferences = TwoSimulatedMachines;

TEST_F(LastingDifferences, ARuleThatBothHaveOfADeletedZoneIsNeverSavedAgain) {
  ASSERT_TRUE(first.add(rule("1")));
  settle();
  deleteZone();
  ASSERT_TRUE(first.add(rule("1", "edited")));
  settle();
  EXPECT_EQ(first.urlFilterOf("1"), "edited");
  EXPECT_EQ(second.urlFilterOf("1"), "ads");
  EXPECT_TRUE(first.isWaiting("AddedRules"));
}

TEST_F(LastingDifferences, BehindARuleOfADeletedZoneNothingElseOfTheMachineIsSaved) {
  ASSERT_TRUE(first.add(rule("1")));
  settle();
  deleteZone();
  ASSERT_TRUE(first.add(rule("1", "edited")));
  ASSERT_TRUE(first.add(rule("2")));
  ASSERT_TRUE(second.add(rule("3")));
  settle();
  EXPECT_THAT(first.rules(), ElementsAre("1", "2", "3"));
  EXPECT_THAT(second.rules(), ElementsAre("1", "3"));
}

TEST_F(LastingDifferences, AfterADeletedZoneNoMachineIsToldOfChanges) {
  settle();
  deleteZone();
  ASSERT_TRUE(first.add(rule("1")));
  run(first);
  run(second);
  EXPECT_THAT(second.rules(), IsEmpty());
  settle();
  EXPECT_THAT(second.rules(), ElementsAre("1"));
  EXPECT_TRUE(second.state.value(SyncManager::zoneSubscriptionIDKey));
}

TEST_F(LastingDifferences, WhatOnePageChangesAndALaterOneDeletesStays) {
  settle();
  // Another fetch of the same pages, which a push would bring, makes it good.
  second.companion->platform().cloud.setListener({});
  world.faults.pageSize = 1;
  ASSERT_TRUE(first.add(rule("1")));
  ASSERT_TRUE(first.add(rule("2")));
  run(first);
  // The second machine has the first page only.
  second.sync().fetchRemoteChanges(nullptr);
  auto& time = second.state.machine->time;
  while (!second.isWaiting(FetchedPages::key)) ASSERT_TRUE(time.runOne());
  ASSERT_TRUE(first.remove(rule("1")));
  run(first);
  run(second);
  settle();
  EXPECT_THAT(first.rules(), ElementsAre("2"));
  EXPECT_THAT(second.rules(), ElementsAre("1", "2"));
}

TEST_F(LastingDifferences, ARemadeRuleGoesWithItsOwnEarlierDeletion) {
  ASSERT_TRUE(first.add(rule("1")));
  settle();
  ASSERT_TRUE(first.remove(rule("1")));
  // The cloud tells of the deletion, and what it says is on its way.
  auto& time = first.state.machine->time;
  while (!world.trace.text().ends_with("fetches -1\n")) ASSERT_TRUE(time.runOne());
  ASSERT_TRUE(first.add(rule("1", "again")));
  settle();
  EXPECT_THAT(first.rules(), IsEmpty());
  EXPECT_THAT(second.rules(), IsEmpty());
}

TEST_F(LastingDifferences, ARuleOfAPackageThatTheOtherHasDeletedStandsForNothing) {
  const Package package{"p", "mine", {}};
  first.addPackage(package);
  settle();
  second.removePackage(package);
  ASSERT_TRUE(first.add(rule("1"), "p"));
  run(second);
  settle();
  EXPECT_THAT(first.rules("p"), IsEmpty());
  EXPECT_THAT(second.rules("p"), IsEmpty());
  const auto changes = world.cloud->connect(World::user)
                           ->fetchChanges({SyncManager::zoneName}, std::nullopt, 100, {});
  EXPECT_EQ(changes->changed.back().recordID().recordName, "1");
}

TEST_F(LastingDifferences, ARuleThatIsFetchedBeforeItsPackageIsDropped) {
  settle();
  // The cloud has the rule first, as when the package's piece of a push has failed.
  first.addPackage({"p", "mine", {}});
  ASSERT_TRUE(first.add(rule("1"), "p"));
  auto* defaults = &first.companion->process().defaults();
  const auto packages = defaults->object("AddedPackages");
  ASSERT_TRUE(defaults->removeObject("AddedPackages"));
  first.sync().pushAllLocalUpdates(1);
  run(first);
  run(second);
  ASSERT_TRUE(defaults->setObject(*packages, "AddedPackages"));
  settle();
  EXPECT_THAT(first.rules("p"), ElementsAre("1"));
  EXPECT_THAT(second.rules("p"), IsEmpty());
}

TEST_F(LastingDifferences, AChangeThatTheCloudCallsInvalidStaysOnItsMachine) {
  settle();
  CKError invalid;
  invalid.code = CKErrorCode::invalidArguments;
  world.cloud->failWith(invalid);
  ASSERT_TRUE(first.add(rule("1")));
  run(first);
  settle();
  EXPECT_THAT(first.rules(), ElementsAre("1"));
  EXPECT_THAT(second.rules(), IsEmpty());
  EXPECT_FALSE(first.isWaiting("AddedRules"));
}

TEST_F(LastingDifferences, AnEditThatCannotBeKeptForTheCloudStaysOnItsMachine) {
  settle();
  first.state.disk.ofKeysAndValues = true;
  EXPECT_TRUE(first.add(rule("1")));
  first.state.disk.ofKeysAndValues = false;
  settle();
  EXPECT_THAT(first.rules(), ElementsAre("1"));
  EXPECT_THAT(second.rules(), IsEmpty());
}

TEST_F(LastingDifferences, AnEditWhoseProcessDiesInTheMiddleOfItStaysOnItsMachine) {
  settle();
  // Both files are written, and nothing else.
  first.companion->risk().dieAfter(2);
  first.add(rule("1"));
  ASSERT_TRUE(first.companion->risk().isDead());
  first.companion.reset();
  first.companion = std::make_unique<SimulatedCompanion>(world, first.state);
  settle();
  EXPECT_THAT(first.rules(), ElementsAre("1"));
  EXPECT_THAT(second.rules(), IsEmpty());
}

TEST_F(LastingDifferences, AnEditOfANewRuleGoesWhenTheAnswerToItsFirstPushIsLost) {
  settle();
  world.cloud->loseAnswer();
  ASSERT_TRUE(first.add(rule("1")));
  run(first);
  ASSERT_TRUE(first.add(rule("1", "edited")));
  settle();
  EXPECT_EQ(first.urlFilterOf("1"), "ads");
  EXPECT_EQ(second.urlFilterOf("1"), "ads");
}

}  // namespace
}  // namespace orvane::test
