#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct InitialSync : ::testing::Test {
  SyncProcess process;
  const std::vector<Package> catalogue{packageOf("p1", {blockRule("a"), blockRule("b")}),
                                       packageOf("p2")};
};

TEST_F(InitialSync, AddsEveryPackageAndRule) {
  process.sync.update(catalogue);
  EXPECT_EQ(process.addedPackages(),
            Value(Dictionary{{"p1", packageFields()}, {"p2", packageFields()}}));
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p1")}, {"b", blockFields("p1")}}));
  EXPECT_TRUE(process.defaults().boolForKey("ExistingDataMarkedAsAdded"));
}

TEST_F(InitialSync, SaysThatItPreparesThePackages) {
  process.sync.update(catalogue);
  EXPECT_THAT(process.printed(), ElementsAre("Preparing packages for initial sync"));
}

TEST_F(InitialSync, IsFlushed) {
  process.sync.update(catalogue);
  EXPECT_EQ(process.flushes(), 1);
}

TEST_F(InitialSync, HappensOnce) {
  process.sync.update(catalogue);
  process.printed().clear();
  process.sync.update({packageOf("p3")});
  EXPECT_EQ(process.addedPackages(),
            Value(Dictionary{{"p1", packageFields()}, {"p2", packageFields()}}));
  EXPECT_THAT(process.printed(), IsEmpty());
}

TEST_F(InitialSync, HappensOnceForAllProcessesOfAMachine) {
  SyncProcess another(process.machine.machine);
  process.sync.update(catalogue);
  another.sync.update({packageOf("p3")});
  EXPECT_FALSE(another.queue.containsAdded("p3"));
  EXPECT_THAT(another.printed(), IsEmpty());
}

TEST_F(InitialSync, HappensOnceWhenAnotherProcessIsQuicker) {
  SyncProcess another(process.machine.machine);
  EXPECT_FALSE(another.queue.existingDataIsMarkedAsAdded());
  process.sync.update(catalogue);
  another.queue.markExistingDataAsAdded({packageOf("p3")});
  EXPECT_EQ(process.addedPackages(),
            Value(Dictionary{{"p1", packageFields()}, {"p2", packageFields()}}));
}

TEST_F(InitialSync, WaitsForACatalogueWithPackages) {
  process.sync.update({});
  EXPECT_THAT(process.printed(), IsEmpty());
  EXPECT_EQ(process.addedPackages(), std::nullopt);
  EXPECT_FALSE(process.defaults().boolForKey("ExistingDataMarkedAsAdded"));
  process.sync.update(catalogue);
  EXPECT_TRUE(process.queue.containsAdded("p1"));
}

TEST_F(InitialSync, ReplacesWhatWasAddedAndLeavesWhatWasDeleted) {
  process.set("AddedRules", Dictionary{{"old", blockFields("p")}, {"a", blockFields("p")}});
  process.set("AddedPackages", Dictionary{{"old", packageFields()}});
  process.set("DeletedRules", Array{"a", "z"});
  process.set("DeletedPackages", Array{"p1"});
  process.sync.update(catalogue);
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p1")}, {"b", blockFields("p1")}}));
  EXPECT_FALSE(process.queue.containsAdded("old"));
  EXPECT_EQ(process.deletedRules(), Value(Array{"a", "z"}));
  EXPECT_EQ(process.deletedPackages(), Value(Array{"p1"}));
}

TEST_F(InitialSync, ALaterEntryReplacesAnEarlierOneWithTheSameIdentifier) {
  auto renamed = packageOf("p1", {blockRule("a", "later")});
  renamed.name = "Renamed";
  process.sync.update({catalogue[0], renamed});
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"p1", Dictionary{{"name", "Renamed"}}}}));
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p1", "later")}, {"b", blockFields("p1")}}));
}

TEST_F(InitialSync, WhatNoRecordCanHoldDoesNotKeepTheRestOut) {
  process.sync.update({packageOf("", {blockRule("nobody's")}), catalogue[0]});
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"p1", packageFields()}}));
  EXPECT_FALSE(process.queue.containsAdded("nobody's"));
  EXPECT_TRUE(process.queue.containsAdded("a"));
  EXPECT_EQ(process.logged().size(), 2U);
}

TEST_F(InitialSync, IsTriedAgainAfterItCouldNotBeWritten) {
  process.machine.suiteAtRisk.fails = true;
  process.sync.update(catalogue);
  process.machine.suiteAtRisk.fails = false;
  EXPECT_EQ(process.addedRules(), std::nullopt);
  process.sync.update(catalogue);
  EXPECT_TRUE(process.queue.containsAdded("a"));
}

}  // namespace
}  // namespace orvane::test
