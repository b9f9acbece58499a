#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "BlockerKit/SyncManager/RecordsToSave.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Data = PropertyListValue::Data;
using Strings = std::vector<std::string>;

struct RecordsToSaveTest : ::testing::Test {
  CKRecord one(RecordKind kind, const Dictionary& fields) {
    auto records = recordsToSave(kind, {{"id", fields}}, known, log);
    EXPECT_EQ(records.size(), 1U);
    return records.front();
  }

  Data archived(const CKRecord& record) { return RecordMetadata(log).getMetadata(record); }

  SyncProcess process;
  RecordingOutput log;
  Dictionary known;
};

TEST_F(RecordsToSaveTest, APackageIsARecordWithItsName) {
  const auto record = one(RecordKind::package, {{"name", "Mine"}});
  EXPECT_EQ(record.recordType(), "package");
  EXPECT_EQ(record.recordID(), (CKRecordID{"id", {"BlockerRulesZone"}}));
  EXPECT_EQ(record.recordChangeTag(), std::nullopt);
  EXPECT_EQ(record.fields(), (CKRecord::Fields{{"name", "Mine"}}));
  EXPECT_THAT(record.changedKeys(), ElementsAre("name"));
}

TEST_F(RecordsToSaveTest, ARuleIsARecordThatRefersToItsPackage) {
  auto fields = blockFields("block-url");
  fields.emplace("resourceTypes", Array{"script"});
  fields.emplace("loadType", Array{});
  const auto record = one(RecordKind::rule, fields);
  EXPECT_EQ(record.recordType(), "rule");
  EXPECT_EQ(record.fields(),
            (CKRecord::Fields{{"name", "R"},
                              {"package", CKReference{{"block-url", {"BlockerRulesZone"}},
                                                      CKReferenceAction::none}},
                              {"urlFilter", "x"},
                              {"caseSensitive", false},
                              {"resourceTypes", Strings{"script"}},
                              {"loadType", Strings{}},
                              {"actionType", "block"}}));
}

TEST_F(RecordsToSaveTest, WhatARuleLacksCountsAsChangedAndHasNoValue) {
  const auto record = one(RecordKind::rule, blockFields("p"));
  EXPECT_THAT(record.changedKeys(),
              ElementsAre("actionType", "caseSensitive", "domainFilterType", "domainFilterValues",
                          "loadType", "name", "package", "resourceTypes", "selector", "urlFilter"));
  for (const auto* key :
       {"selector", "domainFilterType", "domainFilterValues", "resourceTypes", "loadType"}) {
    EXPECT_EQ(record.value(key), std::nullopt) << key;
  }
}

TEST_F(RecordsToSaveTest, ARuleThatLostItsSelectorTakesItFromTheRecordThatTheCloudHas) {
  known.emplace("id", archived({"rule", {"id", rulesZone}, "tag", {{"selector", ".ad"}}}));
  const auto record = one(RecordKind::rule, blockFields("p"));
  EXPECT_EQ(record.recordChangeTag(), "tag");
  EXPECT_TRUE(record.changedKeys().contains("selector"));
  EXPECT_EQ(record.value("selector"), std::nullopt);
}

TEST_F(RecordsToSaveTest, ThereIsNoFieldThatAPackageMayLack) {
  EXPECT_THAT(one(RecordKind::package, {}).changedKeys(), IsEmpty());
}

TEST_F(RecordsToSaveTest, ARecordThatTheCloudHasKeepsItsChangeTag) {
  known.emplace("id", archived({"package", {"id", rulesZone}, "tag 3", {}}));
  known.emplace("another", archived({"package", {"another", rulesZone}, "tag 4", {}}));
  const auto record = one(RecordKind::package, packageFields());
  EXPECT_EQ(record.recordChangeTag(), "tag 3");
  EXPECT_EQ(record.fields(), (CKRecord::Fields{{"name", "P"}}));
}

TEST_F(RecordsToSaveTest, ARecordWhoseMetadataCannotBeDecodedIsANewOne) {
  auto damaged = archived({"package", {"id", rulesZone}, "tag", {}});
  damaged.front() = std::byte{0};
  for (const PropertyListValue& metadata :
       {PropertyListValue(damaged), PropertyListValue(Data{}), PropertyListValue("text")}) {
    known = {{"id", metadata}};
    EXPECT_EQ(one(RecordKind::package, packageFields()).recordChangeTag(), std::nullopt);
  }
}

TEST_F(RecordsToSaveTest, ARecordWithTheMetadataOfAnotherIsANewOne) {
  for (const auto& other :
       {CKRecord("rule", {"id", rulesZone}, "tag", {}),
        CKRecord("package", {"another", rulesZone}, "tag", {}),
        CKRecord("package", {"id", CKRecordZoneID{"another zone"}}, "tag", {})}) {
    known = {{"id", archived(other)}};
    const auto record = one(RecordKind::package, packageFields());
    EXPECT_EQ(record.recordID(), (CKRecordID{"id", rulesZone}));
    EXPECT_EQ(record.recordType(), "package");
    EXPECT_EQ(record.recordChangeTag(), std::nullopt);
  }
}

TEST_F(RecordsToSaveTest, ThePackageFieldIsCopiedWhenItIsNoText) {
  const auto package = [&](PropertyListValue value) {
    return one(RecordKind::rule, {{"package", std::move(value)}}).value("package");
  };
  EXPECT_EQ(package(true), CKRecord::Value(true));
  EXPECT_EQ(package(std::int64_t{7}), CKRecord::Value(std::int64_t{7}));
  EXPECT_EQ(package(Array{"a"}), CKRecord::Value(Strings{"a"}));
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(RecordsToSaveTest, AFieldThatNoRecordCanHoldIsLeftOutAndLogged) {
  const std::vector<PropertyListValue> impossible{Data{},
                                                  Dictionary{{"a", "b"}},
                                                  Array{"a", std::int64_t{1}},
                                                  Array{std::string("\0", 1)},
                                                  std::string("a\0b", 3),
                                                  "\xFF"};
  for (const auto& value : impossible) {
    const auto record = one(RecordKind::package, {{"name", "P"}, {"x", value}});
    EXPECT_THAT(record.changedKeys(), ElementsAre("name"));
    EXPECT_THAT(log.take(),
                ElementsAre("No record can hold the field \"x\" of \"id\"; it is not synced"));
  }
}

TEST_F(RecordsToSaveTest, AReferenceToWhatCannotBeARecordIsLeftOutAndLogged) {
  const auto record = one(RecordKind::rule, {{"package", ""}});
  EXPECT_EQ(record.value("package"), std::nullopt);
  EXPECT_THAT(log.lines,
              ElementsAre("No record can hold the field \"package\" of \"id\"; it is not synced"));
}

TEST_F(RecordsToSaveTest, AnEntryThatIsNoRecordIsSkippedAndLogged) {
  const Dictionary added{{"", packageFields()},
                         {std::string(255, 'a'), packageFields()},
                         {std::string(256, 'b'), packageFields()},
                         {"text", "text"}};
  const auto records = recordsToSave(RecordKind::package, added, {}, log);
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records.front().recordID().recordName, std::string(255, 'a'));
  EXPECT_THAT(log.lines, ElementsAre("What is queued as \"\" is no record; it is not synced",
                                     "What is queued as \"" + std::string(60, 'b') +
                                         "…\" is no record; it is not synced",
                                     "What is queued as \"text\" is no record; it is not synced"));
}

TEST_F(RecordsToSaveTest, ComeInTheOrderOfTheirNames) {
  const Dictionary added{{"c", packageFields()}, {"a", packageFields()}, {"b", packageFields()}};
  Strings names;
  for (const auto& record : recordsToSave(RecordKind::package, added, {}, log)) {
    names.push_back(record.recordID().recordName);
  }
  EXPECT_THAT(names, ElementsAre("a", "b", "c"));
}

TEST(RecordIDs, AreInTheOrderOfTheirNamesAndWithoutWhatCannotBeOne) {
  EXPECT_THAT(recordIDs({"b", "", "a", std::string(256, 'x')}, rulesZone),
              ElementsAre(CKRecordID{"b", rulesZone}, CKRecordID{"a", rulesZone}));
}

}  // namespace
}  // namespace orvane::test
