#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct LocalChangesQueueTest : ::testing::Test {
  std::uint64_t changeCount(std::string_view key) {
    return process.machine.suiteDatabase.changeCount(key)->count;
  }
  void addRules(const std::vector<Rule>& rules, const std::string& package = "p") {
    process.change([&](LocalChangesEdit& edit) { edit.addRules(rules, package); });
  }
  void addPackage(const std::string& identifier) {
    process.change([&](LocalChangesEdit& edit) { edit.addPackage(identifier, "P"); });
  }
  void markDeleted(const std::vector<std::string>& identifiers, RecordKind kind) {
    process.change([&](LocalChangesEdit& edit) { edit.markDeleted(identifiers, kind); });
  }
  void unmarkDeleted(const std::vector<std::string>& identifiers, RecordKind kind) {
    process.change([&](LocalChangesEdit& edit) { edit.unmarkDeleted(identifiers, kind); });
  }
  void forget(const std::vector<std::string>& names) {
    process.change([&](LocalChangesEdit& edit) { edit.forget(names); });
  }
  std::vector<std::string> typesAndNamesToSave() {
    std::vector<std::string> found;
    for (const auto& record : process.queue.all(rulesZone).recordsToSave.all()) {
      found.push_back(record.recordType() + " " + record.recordID().recordName);
    }
    return found;
  }

  SyncProcess process;
};

TEST_F(LocalChangesQueueTest, APackageIsAddedAsItsFields) {
  addPackage("p1");
  addPackage("p2");
  EXPECT_EQ(process.addedPackages(),
            Value(Dictionary{{"p1", packageFields()}, {"p2", packageFields()}}));
  EXPECT_EQ(process.addedRules(), std::nullopt);
}

TEST_F(LocalChangesQueueTest, RulesAreAddedAsTheirFieldsWithTheirPackage) {
  addRules({blockRule("a"), blockRule("b")}, "p1");
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p1")}, {"b", blockFields("p1")}}));
}

TEST_F(LocalChangesQueueTest, ASecondChangeOfARuleReplacesTheFirst) {
  auto rule = blockRule("a", "old");
  rule.blocker.trigger.loadType = {LoadType::FirstParty};
  addRules({rule});
  addRules({blockRule("a", "new")});
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"a", blockFields("p", "new")}}));
}

TEST_F(LocalChangesQueueTest, OfTwoRulesWithOneIdentifierTheLaterCounts) {
  addRules({blockRule("a", "1"), blockRule("a", "2")});
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"a", blockFields("p", "2")}}));
}

TEST_F(LocalChangesQueueTest, ManyRulesAreAddedInOneTransaction) {
  std::vector<Rule> rules;
  rules.reserve(5000);
  for (int i = 0; i < 5000; ++i) rules.push_back(blockRule(std::to_string(i)));
  addRules(rules);
  EXPECT_EQ(process.addedRules()->as<Dictionary>()->size(), 5000U);
  EXPECT_EQ(changeCount("AddedRules"), 1U);
}

TEST_F(LocalChangesQueueTest, WhatWasAddedIsRemovedFromItsKindAndAbsentOnesAreIgnored) {
  addPackage("a");
  addRules({blockRule("a"), blockRule("b"), blockRule("c")});
  process.change([](LocalChangesEdit& edit) {
    edit.removeAdded({"a", "none", "c"}, RecordKind::rule);
  });
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"b", blockFields("p")}}));
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"a", packageFields()}}));
  process.change([](LocalChangesEdit& edit) { edit.removeAdded({"a"}, RecordKind::package); });
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{}));
}

TEST_F(LocalChangesQueueTest, DeletionsAreListedOnceInTheOrderOfTheFirst) {
  markDeleted({"b"}, RecordKind::rule);
  markDeleted({"c", "b", "a", "c"}, RecordKind::rule);
  markDeleted({"b"}, RecordKind::rule);
  markDeleted({"p"}, RecordKind::package);
  EXPECT_EQ(process.deletedRules(), Value(Array{"b", "c", "a"}));
  EXPECT_EQ(process.deletedPackages(), Value(Array{"p"}));
}

TEST_F(LocalChangesQueueTest, UnmarkingTakesTheFirstOccurrenceFromTheListOfItsKind) {
  process.set("DeletedRules", Array{"a", "b", "c", "a"});
  process.set("DeletedPackages", Array{"a"});
  unmarkDeleted({"a", "none", "c"}, RecordKind::rule);
  EXPECT_EQ(process.deletedRules(), Value(Array{"b", "a"}));
  EXPECT_EQ(process.deletedPackages(), Value(Array{"a"}));
  unmarkDeleted({"a"}, RecordKind::package);
  EXPECT_EQ(process.deletedPackages(), Value(Array{}));
}

TEST_F(LocalChangesQueueTest, UnmarkingWithoutAListWritesNothing) {
  unmarkDeleted({"a"}, RecordKind::rule);
  EXPECT_EQ(process.deletedRules(), std::nullopt);
  EXPECT_EQ(changeCount("DeletedRules"), 0U);
}

TEST_F(LocalChangesQueueTest, ContainsWhatWasAddedAsARuleOrAsAPackage) {
  addRules({blockRule("rule")});
  addPackage("package");
  markDeleted({"deleted"}, RecordKind::rule);
  EXPECT_TRUE(process.queue.containsAdded("rule"));
  EXPECT_TRUE(process.queue.containsAdded("package"));
  EXPECT_FALSE(process.queue.containsAdded("deleted"));
  EXPECT_FALSE(process.queue.containsAdded("none"));
}

TEST_F(LocalChangesQueueTest, ForgettingANameTakesItFromAllFour) {
  addRules({blockRule("a"), blockRule("b")});
  addPackage("a");
  addPackage("b");
  process.set("DeletedRules", Array{"b", "a"});
  process.set("DeletedPackages", Array{"a", "b"});
  forget({"a"});
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"b", blockFields("p")}}));
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"b", packageFields()}}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"b"}));
  EXPECT_EQ(process.deletedPackages(), Value(Array{"b"}));
}

TEST_F(LocalChangesQueueTest, ForgettingANameThatIsNotThereChangesNothing) {
  addRules({blockRule("a")});
  process.set("DeletedRules", Array{"b"});
  forget({"none"});
  EXPECT_EQ(changeCount("AddedRules"), 1U);
  EXPECT_EQ(changeCount("DeletedRules"), 1U);
  EXPECT_EQ(process.addedPackages(), std::nullopt);
  EXPECT_EQ(process.deletedPackages(), std::nullopt);
}

TEST_F(LocalChangesQueueTest, ManyNamesAreForgottenInOneTransaction) {
  addRules({blockRule("a"), blockRule("b"), blockRule("c")});
  markDeleted({"d", "e"}, RecordKind::rule);
  forget({"a", "c", "d", "e"});
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"b", blockFields("p")}}));
  EXPECT_EQ(process.deletedRules(), Value(Array{}));
  EXPECT_EQ(changeCount("AddedRules"), 2U);
  EXPECT_EQ(changeCount("DeletedRules"), 2U);
}

TEST_F(LocalChangesQueueTest, NoChangeFlushesTheDefaults) {
  addRules({blockRule("a")});
  addPackage("p");
  markDeleted({"b"}, RecordKind::rule);
  unmarkDeleted({"b"}, RecordKind::rule);
  forget({"a"});
  EXPECT_EQ(process.flushes(), 0);
}

TEST_F(LocalChangesQueueTest, RecordsAreSavedPackagesFirst) {
  addRules({blockRule("b"), blockRule("a")});
  addPackage("z");
  addPackage("y");
  EXPECT_THAT(typesAndNamesToSave(), ElementsAre("package y", "package z", "rule a", "rule b"));
}

TEST_F(LocalChangesQueueTest, OneIdentifierAsPackageAndRuleIsTwoRecordsOfOneName) {
  addPackage("same");
  addRules({blockRule("same")});
  EXPECT_THAT(typesAndNamesToSave(), ElementsAre("package same", "rule same"));
}

TEST_F(LocalChangesQueueTest, RecordsToSaveHaveTheChangeTagsThatAreStored) {
  addPackage("known");
  addPackage("new");
  RecordMetadata metadata(process.machine.standardOutput);
  ASSERT_TRUE(process.defaults().transact([&](KeyValueDatabase::Transaction& transaction) {
    metadata.updateMetadata({"package", {"known", rulesZone}, "tag", {}}, transaction);
  }));
  const auto records = process.queue.all(rulesZone).recordsToSave.all();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].recordChangeTag(), "tag");
  EXPECT_EQ(records[1].recordChangeTag(), std::nullopt);
}

TEST_F(LocalChangesQueueTest, DeletedRecordsAreRulesThenPackagesInTheZone) {
  markDeleted({"p2", "p1"}, RecordKind::package);
  markDeleted({"r2", "r1"}, RecordKind::rule);
  EXPECT_THAT(process.queue.all(rulesZone).recordIDsToDelete,
              ElementsAre(CKRecordID{"r2", rulesZone}, CKRecordID{"r1", rulesZone},
                          CKRecordID{"p2", rulesZone}, CKRecordID{"p1", rulesZone}));
}

TEST_F(LocalChangesQueueTest, NothingIsToBeSavedOrDeletedWhenNothingIsThere) {
  EXPECT_THAT(process.queue.all(rulesZone).recordsToSave.all(), IsEmpty());
  EXPECT_THAT(process.queue.all(rulesZone).recordIDsToDelete, IsEmpty());
}

TEST_F(LocalChangesQueueTest, ValuesOfAnotherTypeReadAsEmpty) {
  for (const PropertyListValue& wrong :
       {PropertyListValue("text"), PropertyListValue(true), PropertyListValue(Array{"a", true}),
        PropertyListValue(Dictionary{{"a", "text"}})}) {
    for (const auto* key : {"AddedRules", "AddedPackages", "DeletedRules", "DeletedPackages"}) {
      process.set(key, wrong);
    }
    EXPECT_THAT(process.queue.all(rulesZone).recordsToSave.all(), IsEmpty());
    EXPECT_THAT(process.queue.all(rulesZone).recordIDsToDelete, IsEmpty());
    EXPECT_FALSE(process.queue.containsAdded("a"));
  }
}

TEST_F(LocalChangesQueueTest, AnEntryOfAnotherTypeReadsAsAbsentAndTheOthersStay) {
  process.set("AddedRules", Dictionary{{"a", "text"}, {"b", blockFields("p")}});
  EXPECT_THAT(typesAndNamesToSave(), ElementsAre("rule b"));
  EXPECT_FALSE(process.queue.containsAdded("a"));
  EXPECT_TRUE(process.queue.containsAdded("b"));
}

TEST_F(LocalChangesQueueTest, TheNextChangeTakesThePlaceOfAValueOfAnotherType) {
  process.set("AddedRules", "text");
  process.set("AddedPackages", Array{});
  process.set("DeletedRules", Array{"a", true});
  process.set("DeletedPackages", Dictionary{});
  addRules({blockRule("a")});
  addPackage("p");
  markDeleted({"b"}, RecordKind::rule);
  markDeleted({"q"}, RecordKind::package);
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"a", blockFields("p")}}));
  EXPECT_EQ(process.addedPackages(), Value(Dictionary{{"p", packageFields()}}));
  EXPECT_EQ(process.deletedRules(), Value(Array{"b"}));
  EXPECT_EQ(process.deletedPackages(), Value(Array{"q"}));
}

TEST_F(LocalChangesQueueTest, WhatCannotBeReadIsEmptyAndTheSystemLogSaysWhy) {
  addRules({blockRule("a")});
  markDeleted({"b"}, RecordKind::rule);
  process.machine.suiteAtRisk.fails = true;
  EXPECT_THAT(process.queue.all(rulesZone).recordsToSave.all(), IsEmpty());
  EXPECT_THAT(process.queue.all(rulesZone).recordIDsToDelete, IsEmpty());
  EXPECT_FALSE(process.queue.containsAdded("a"));
  EXPECT_THAT(process.logged(), ::testing::Contains("The disk is on fire"));
}

TEST_F(LocalChangesQueueTest, AChangeThatCannotBeWrittenIsAnErrorAndLeavesTheQueueAsItWas) {
  addRules({blockRule("a")});
  process.machine.suiteAtRisk.fails = true;
  EXPECT_FALSE(process.queue.change([](LocalChangesEdit& edit) { edit.forget({"a"}); }));
  EXPECT_THAT(process.logged(), ElementsAre("The disk is on fire"));
  process.machine.suiteAtRisk.fails = false;
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"a", blockFields("p")}}));
}

TEST_F(LocalChangesQueueTest, WhatNoRecordCanHoldDoesNotKeepTheRestOut) {
  auto selector = blockRule("selector");
  selector.blocker.action = Action::asRead(ActionType::Hide, std::string("a\0b", 3));
  auto domain = blockRule("domain");
  domain.blocker.trigger.domainFilter = {DomainFilterType::IfDomain, {"good", "\xFF"}};
  addRules({blockRule(""), blockRule(std::string(256, 'x')), selector, domain, blockRule("good")});
  EXPECT_EQ(process.addedRules(), Value(Dictionary{{"good", blockFields("p")}}));
  EXPECT_THAT(process.logged(),
              ElementsAre("No record can hold \"\"; it is not synced",
                          "No record can hold \"" + std::string(60, 'x') + "…\"; it is not synced",
                          "No record can hold \"selector\"; it is not synced",
                          "No record can hold \"domain\"; it is not synced"));
}

TEST_F(LocalChangesQueueTest, ARuleOfAPackageThatCannotBeNamedIsLeftOut) {
  addRules({blockRule("a")}, "");
  addPackage("");
  EXPECT_EQ(process.addedRules(), std::nullopt);
  EXPECT_EQ(process.addedPackages(), std::nullopt);
  EXPECT_THAT(process.logged(), ElementsAre("No record can hold \"a\"; it is not synced",
                                            "No record can hold \"\"; it is not synced"));
}

TEST_F(LocalChangesQueueTest, WhatTheCloudCannotHaveIsNotListedAsDeleted) {
  markDeleted({"", "a", std::string("b\0", 2)}, RecordKind::rule);
  EXPECT_EQ(process.deletedRules(), Value(Array{"a"}));
}

}  // namespace
}  // namespace orvane::test
