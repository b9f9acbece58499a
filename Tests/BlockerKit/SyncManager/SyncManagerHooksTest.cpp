#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct SyncManagerHooks : ::testing::Test {
  SyncProcess process;
  SyncManager& sync = process.sync;
  const Package package = packageOf("p", {blockRule("b"), blockRule("a")});
};

TEST_F(SyncManagerHooks, AnAddedPackageIsQueuedWithItsRules) {
  sync.packageAdded(package);
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"p", packageFields()}}));
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p")}, {"b", blockFields("p")}}));
}

TEST_F(SyncManagerHooks, AnAddedPackageIsNoLongerDeletedNorAreItsRules) {
  process.set("DeletedPackages", Array{"q", "p"});
  process.set("DeletedRules", Array{"a", "z", "b"});
  sync.packageAdded(package);
  EXPECT_EQ(process.deletedPackages(), Value(Array{"q"}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"z"}));
}

TEST_F(SyncManagerHooks, ADeletedPackageIsListedWithItsRulesInTheirOrder) {
  sync.packageAdded(package);
  sync.packageAdded(packageOf("q", {blockRule("c")}));
  sync.packageDeleted(package);
  EXPECT_EQ(process.deletedPackages(), Value(Array{"p"}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"b", "a"}));
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"q", packageFields()}}));
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"c", blockFields("q")}}));
}

TEST_F(SyncManagerHooks, APackageThatWasNeverPushedIsListedAsDeletedToo) {
  sync.packageDeleted(package);
  EXPECT_EQ(process.deletedPackages(), Value(Array{"p"}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"b", "a"}));
}

TEST_F(SyncManagerHooks, AnAddedRuleIsQueuedAndItsPackageIsNot) {
  sync.ruleAdded(blockRule("new"), package);
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"new", blockFields("p")}}));
  EXPECT_EQ(process.addedPackages(), std::nullopt);
}

TEST_F(SyncManagerHooks, AddingARuleTakesItOutOfTheDeletedOnes) {
  sync.ruleDeleted(blockRule("a"), package);
  sync.ruleAdded(blockRule("a"), package);
  EXPECT_EQ(process.deletedRules(), Value(Array{}));
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"a", blockFields("p")}}));
}

TEST_F(SyncManagerHooks, ACollectionOfRulesIsQueuedAndNoLongerDeleted) {
  process.set("DeletedRules", Array{"a", "z", "b"});
  sync.ruleCollectionAdded(package.rules, package);
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p")}, {"b", blockFields("p")}}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"z"}));
  EXPECT_EQ(process.addedPackages(), std::nullopt);
}

TEST_F(SyncManagerHooks, ARuleThatWasNeverPushedIsStillListedWhenItIsDeleted) {
  sync.ruleAdded(blockRule("a"), package);
  sync.ruleDeleted(blockRule("a"), package);
  EXPECT_EQ(process.addedRules(), Value(Dictionary{}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"a"}));
}

TEST_F(SyncManagerHooks, ARuleThatIsDeletedTwiceIsListedOnce) {
  sync.ruleDeleted(blockRule("a"), package);
  sync.ruleDeleted(blockRule("a"), package);
  EXPECT_EQ(process.deletedRules(), Value(Array{"a"}));
}

TEST_F(SyncManagerHooks, DeletingARuleLeavesItsPackageAsItIs) {
  sync.packageAdded(package);
  sync.ruleDeleted(blockRule("a"), package);
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"p", packageFields()}}));
  EXPECT_EQ(process.deletedPackages(), std::nullopt);
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"b", blockFields("p")}}));
}

TEST_F(SyncManagerHooks, EachFlushesOnce) {
  sync.packageAdded(package);
  EXPECT_EQ(process.flushes(), 1);
  sync.packageDeleted(package);
  EXPECT_EQ(process.flushes(), 2);
  sync.ruleAdded(blockRule("a"), package);
  EXPECT_EQ(process.flushes(), 3);
  sync.ruleCollectionAdded(package.rules, package);
  EXPECT_EQ(process.flushes(), 4);
  sync.ruleDeleted(blockRule("a"), package);
  EXPECT_EQ(process.flushes(), 5);
}

TEST_F(SyncManagerHooks, EachIsOneTransaction) {
  process.set("DeletedPackages", Array{"p"});
  process.set("DeletedRules", Array{"a"});
  TestPlatform another(process.machine.machine);
  // The version grows by one with each commit of another process.
  const auto commits = [&](auto change) {
    const auto before = *another.suiteDatabase.foreignVersion();
    change();
    return *another.suiteDatabase.foreignVersion() - before;
  };
  EXPECT_EQ(commits([&] { sync.packageAdded(package); }), 1U);
  EXPECT_EQ(commits([&] { sync.ruleDeleted(blockRule("a"), package); }), 1U);
  EXPECT_EQ(commits([&] { sync.ruleAdded(blockRule("a"), package); }), 1U);
  EXPECT_EQ(commits([&] { sync.packageDeleted(package); }), 1U);
}

TEST_F(SyncManagerHooks, AChangeThatCannotBeStoredIsLogged) {
  process.machine.suiteAtRisk.fails = true;
  sync.ruleAdded(blockRule("a"), package);
  EXPECT_THAT(process.logged(), ElementsAre("The disk is on fire", "The disk is on fire"));
}

TEST_F(SyncManagerHooks, PrintNothing) {
  sync.packageAdded(package);
  sync.ruleDeleted(blockRule("a"), package);
  EXPECT_THAT(process.printed(), IsEmpty());
}

TEST_F(SyncManagerHooks, AreInTheStandardDefaultsWhenTheSuiteCannotBeOpened) {
  process.machine.canOpenSuite = false;
  auto& standard = process.machine.standardUserDefaults;
  SyncManager alone(process.machine.platform, sharedUserDefaults(process.machine.platform),
                    process.dataManager, SyncManager::Cloud::none, [] {});
  alone.ruleAdded(blockRule("a"), package);
  EXPECT_EQ(standard.object("AddedRules"), Value(Dictionary{{"a", blockFields("p")}}));
}

}  // namespace
}  // namespace orvane::test
