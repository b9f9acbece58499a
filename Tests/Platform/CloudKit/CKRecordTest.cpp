#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/CloudKit/CKRecord.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const CKRecordID recordID{"rule-1", {"Zone"}};

CKRecord asSaved() {
  return {
      "rule", recordID, "7", {{"name", std::string("first")}, {"selector", std::string(".ad")}}};
}

TEST(CloudRecord, isNewWithoutAChangeTag) {
  const CKRecord record("rule", recordID);
  EXPECT_EQ(record.recordType(), "rule");
  EXPECT_EQ(record.recordID(), recordID);
  EXPECT_EQ(record.recordChangeTag(), std::nullopt);
  EXPECT_THAT(record.allKeys(), IsEmpty());
}

TEST(CloudRecord, countsAKeyAsChangedWhateverItIsSetTo) {
  auto record = asSaved();
  EXPECT_THAT(record.changedKeys(), IsEmpty());
  record.setValue("name", record.value("name"));
  record.setValue("loadType", record.value("loadType"));
  EXPECT_THAT(record.changedKeys(), ElementsAre("loadType", "name"));
  EXPECT_THAT(record.allKeys(), ElementsAre("loadType", "name", "selector"));
  EXPECT_EQ(record.fields(), asSaved().fields());
}

TEST(CloudRecord, givesValuesOfTheTypeThatIsAskedForOnly) {
  auto record = asSaved();
  record.setValue("caseSensitive", CKRecordValue(true));
  ASSERT_NE(record.as<std::string>("name"), nullptr);
  EXPECT_EQ(*record.as<std::string>("name"), "first");
  EXPECT_EQ(record.as<bool>("name"), nullptr);
  EXPECT_EQ(record.as<std::int64_t>("caseSensitive"), nullptr);
  EXPECT_EQ(record.as<bool>("absent"), nullptr);
}

TEST(CloudRecord, knowsWhatItWasBeforeItsChanges) {
  auto record = asSaved();
  record.setValue("name", CKRecordValue(std::string("second")));
  record.setValue("name", CKRecordValue(std::string("third")));
  record.setValue("selector", std::nullopt);
  record.setValue("new", CKRecordValue(true));
  EXPECT_EQ(record.beforeChanges(), asSaved());
}

TEST(CloudRecord, hasNoChangesOnceItIsSaved) {
  auto record = asSaved();
  record.setValue("selector", std::nullopt);
  const auto saved = record.savedWithChangeTag("8");
  EXPECT_EQ(saved, CKRecord("rule", recordID, "8", {{"name", std::string("first")}}));
  EXPECT_THAT(saved.changedKeys(), IsEmpty());
}

TEST(CloudRecord, keepsItsSystemFieldsInAnArchive) {
  for (const auto& record : {asSaved(), CKRecord("package", recordID)}) {
    NSKeyedArchiver archiver(CKRecord::className);
    record.encodeSystemFields(archiver);
    const auto unarchiver =
        NSKeyedUnarchiver::forReading(archiver.finishEncoding(), CKRecord::className);
    ASSERT_TRUE(unarchiver.has_value());
    const auto decoded = CKRecord::decode(*unarchiver);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_EQ(decoded->recordType(), record.recordType());
    EXPECT_EQ(decoded->recordID(), record.recordID());
    EXPECT_EQ(decoded->recordChangeTag(), record.recordChangeTag());
    EXPECT_THAT(decoded->allKeys(), IsEmpty());
  }
}

TEST(CloudRecord, isNotDecodedFromAnotherArchive) {
  NSKeyedArchiver archiver(CKRecord::className);
  archiver.encode("rule", "RecordType");
  EXPECT_EQ(CKRecord::decode(
                *NSKeyedUnarchiver::forReading(archiver.finishEncoding(), CKRecord::className)),
            std::nullopt);
}

}  // namespace
}  // namespace orvane::test
