#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Simulation/SimulatedProcess.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* list = "block-url";

Rule rule(const std::string& id, const std::string& urlFilter = "ads") {
  return {id, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
}

/// Two machines of a user, and what the rules of sync leave different on them for good, or give up.
/// The simulation excuses exactly this.
class LastingDifferences : public ::testing::Test {
 protected:
  struct Machine {
    Machine(World& world, const std::string& name) : state(name) {
      state.machine->cloud = world.cloud;
      static_cast<void>(state.machine->fileSystem.createDirectories(TestPlatform::container));
      companion = std::make_unique<SimulatedCompanion>(world, state);
    }

    DataManager& catalogue() { return companion->dataManager(); }
    SyncManager& sync() { return companion->process().syncManager(); }
    std::vector<std::string> rules(const std::string& package = list) {
      std::vector<std::string> ids;
      for (const auto& held : companion->packages()) {
        if (held.id != package) continue;
        for (const auto& heldRule : held.rules) ids.push_back(heldRule.id);
      }
      return ids;
    }
    std::string urlFilterOf(const std::string& id) {
      for (const auto& package : companion->packages()) {
        for (const auto& held : package.rules) {
          if (held.id == id) return held.blocker.trigger.urlFilter;
        }
      }
      return "no such rule";
    }
    bool isWaiting(const std::string& key) { return state.hasEntries(key); }
    bool add(const Rule& added, const std::string& package = list) {
      return catalogue().addRule(added, package);
    }
    bool remove(const Rule& removed) {
      return catalogue().replaceRule(removed, std::nullopt, ConfigurablePackageType::BlockURL);
    }
    void addPackage(const Package& package) {
      catalogue().addPackage(package);
      ASSERT_TRUE(catalogue().save(PackageCollectionType::custom, nullptr));
      sync().packageAdded(package);
    }
    void removePackage(const Package& package) {
      catalogue().removeItem(package.id);
      ASSERT_TRUE(catalogue().save(PackageCollectionType::custom, nullptr));
      sync().packageDeleted(package);
    }

    MachineState state;
    std::unique_ptr<SimulatedCompanion> companion;
  };

  LastingDifferences() { world.faults.isOn = false; }
  ~LastingDifferences() override {
    if (HasFailure()) std::cout << world.trace.text();
  }

  static void run(Machine& machine) { machine.state.machine->time.runUntilIdle(); }
  /// Until nothing moves.
  void settle() {
    for (int round = 0; round < 4; ++round) {
      for (auto* machine : {&first, &second}) {
        machine->companion->syncEverything();
        run(first);
        run(second);
        run(first);
      }
    }
  }
  void deleteZone() {
    EXPECT_TRUE(world.cloud->connect(World::user)->deleteZone({SyncManager::zoneName}, {}));
  }

  World world{1};
  Machine first{world, "first"};
  Machine second{world, "second"};
};

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
