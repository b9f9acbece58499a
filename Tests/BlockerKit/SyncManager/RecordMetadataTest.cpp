#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

struct RecordMetadataTest : ::testing::Test {
  SyncProcess process;
  void store(const CKRecord& record) {
    ASSERT_TRUE(process.defaults().transact([&](KeyValueDatabase::Transaction& transaction) {
      metadata.updateMetadata(record, transaction);
    }));
  }

  RecordMetadata metadata{process.machine.standardOutput};
  CKRecord saved{"rule", {"r1", rulesZone}, "tag 7", {{"name", "N"}}};
  CKRecord neverSaved{"package", {"p1", rulesZone}};
};

TEST_F(RecordMetadataTest, PrintsTheChangeTag) {
  metadata.getMetadata(saved);
  EXPECT_THAT(process.printed(), ElementsAre("Changetag for r1: tag 7"));
}

TEST_F(RecordMetadataTest, PrintsThatThereIsNoChangeTag) {
  metadata.getMetadata(neverSaved);
  EXPECT_THAT(process.printed(), ElementsAre("Changetag for p1: none"));
}

TEST_F(RecordMetadataTest, KeepsTheSystemFieldsAndNoValues) {
  const auto record = recordFromMetadata(metadata.getMetadata(saved));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->recordID(), saved.recordID());
  EXPECT_EQ(record->recordType(), "rule");
  EXPECT_EQ(record->recordChangeTag(), "tag 7");
  EXPECT_TRUE(record->allKeys().empty());
}

TEST_F(RecordMetadataTest, KeepsThatARecordWasNeverSaved) {
  const auto record = recordFromMetadata(metadata.getMetadata(neverSaved));
  ASSERT_TRUE(record);
  EXPECT_EQ(*record, neverSaved);
}

TEST_F(RecordMetadataTest, IsStoredUnderTheRecordsNameBesideTheOthers) {
  store(neverSaved);
  store(saved);
  EXPECT_THAT(process.printed(), ElementsAre("Changetag for p1: none", "Changetag for r1: tag 7"));
  EXPECT_EQ(process.defaults().object("RecordMetaData"),
            Value(Dictionary{{"p1", metadata.getMetadata(neverSaved)},
                             {"r1", metadata.getMetadata(saved)}}));
}

TEST_F(RecordMetadataTest, ReplacesWhatWasKnownOfTheRecord) {
  store(saved);
  const auto savedAgain = saved.savedWithChangeTag("tag 8");
  store(savedAgain);
  EXPECT_EQ(process.defaults().object("RecordMetaData"),
            Value(Dictionary{{"r1", metadata.getMetadata(savedAgain)}}));
}

TEST_F(RecordMetadataTest, TakesThePlaceOfWhatIsNoDictionary) {
  process.set("RecordMetaData", "text");
  store(saved);
  EXPECT_EQ(process.defaults().object("RecordMetaData"),
            Value(Dictionary{{"r1", metadata.getMetadata(saved)}}));
}

TEST_F(RecordMetadataTest, IsNoRecordWhenItIsDamagedOrNoData) {
  auto damaged = metadata.getMetadata(saved);
  damaged.back() ^= std::byte{1};
  EXPECT_EQ(recordFromMetadata(damaged), std::nullopt);
  EXPECT_EQ(recordFromMetadata(PropertyListValue::Data{}), std::nullopt);
  EXPECT_EQ(recordFromMetadata("text"), std::nullopt);
}

}  // namespace
}  // namespace orvane::test
