#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Another process of the machine changes the queue while a push goes on.
class PushMoment : public ConnectedMachine {
 protected:
  /// From now on the batches are listed; the first one is sent while the other process acts.
  void duringTheFirstBatch(std::function<void()> action) {
    machine->cloud().watch(
        [this, action = std::move(action)](CloudRequest /*request*/, const CloudBatch* batch) {
          if (batch == nullptr) return;
          batches.push_back(*batch);
          if (batches.size() == 1) action();
        });
  }
  /// The name of each record, and its filter.
  static std::vector<std::string> sent(const CloudBatch& batch) {
    std::vector<std::string> texts;
    for (const auto& record : batch.recordsToSave) {
      const auto* filter = record.as<std::string>("urlFilter");
      texts.push_back(record.recordID().recordName + " " + (filter == nullptr ? "" : *filter));
    }
    return texts;
  }
  void fillBoth(const std::vector<std::string>& names) {
    for (const auto& name : names) {
      cloudSide.save(ruleRecord(name));
      ASSERT_TRUE(machine->defaults().setEntry("AddedRules", name, blockFields("block-url")));
    }
  }

  SyncProcess other{machine->machine.machine};
  const Package package = packageOf("block-url");
};

TEST_F(PushMoment, isWhatAllItsRequestsSendAndTheNextPushSendsWhatHasChangedSince) {
  queueRules(2);
  duringTheFirstBatch([this] { other.sync.ruleAdded(blockRule("rule-1", "edited"), package); });
  push(2);
  ASSERT_THAT(batches, SizeIs(3));
  EXPECT_THAT(sent(batches[0]), ElementsAre("rule-0 x"));
  EXPECT_THAT(sent(batches[1]), ElementsAre("rule-1 x"));
  EXPECT_THAT(sent(batches[2]), ElementsAre("rule-1 edited"));
  EXPECT_FALSE(isAdded("rule-1"));
}

TEST_F(PushMoment, isWhatAllItsRequestsSendAlsoWhenARuleIsDeletedSince) {
  queueRules(2);
  duringTheFirstBatch([this] { other.sync.ruleDeleted(blockRule("rule-1"), package); });
  push(2);
  ASSERT_THAT(batches, SizeIs(2));
  EXPECT_THAT(sent(batches[1]), ElementsAre("rule-1 x"));
}

TEST_F(PushMoment, ofTheNextPushAfterAConflictIsLaterThanWhatAnotherProcessHasChanged) {
  fillBoth({"a", "b", "c"});
  duringTheFirstBatch([this] {
    other.sync.ruleAdded(blockRule("b", "edited"), package);
    other.sync.ruleDeleted(blockRule("c"), package);
  });
  push();
  ASSERT_GE(batches.size(), 2U);
  EXPECT_THAT(sent(batches[0]), ElementsAre("a x", "b x", "c x"));
  EXPECT_THAT(sent(batches[1]), ElementsAre("b edited"));
  EXPECT_THAT(batches[1].recordIDsToDelete, ElementsAre(CKRecordID{"c", rulesZone}));
  EXPECT_THAT(cloudSide.names(), ElementsAre("a", "b"));
}

/// A machine that was restored from a backup.
TEST_F(PushMoment, comesOncePerRuleThatTheCloudHasAlready) {
  const std::vector<std::string> names{"a", "b", "c", "d"};
  fillBoth(names);
  listRequests();
  push();
  ASSERT_THAT(batches, SizeIs(names.size()));
  EXPECT_THAT(batches.back().recordsToSave, SizeIs(1));
  EXPECT_EQ(count("Records to add/modify 4"), 1U);
  EXPECT_EQ(count("No local record changes to push"), 1U);
  EXPECT_EQ(machine->defaults().object("AddedRules"), Value(Dictionary{}));
}

/// Entries that only turn out to be damaged when they are read.
class DamagedEntries final : public KeyValueEntries {
 public:
  std::size_t count() const override { return 2; }
  std::string_view name(std::size_t index) const override { return index == 0 ? "a" : "b"; }
  bool isDictionary(std::size_t /*index*/) const override { return true; }
  std::optional<PropertyListValue> value(std::size_t index) const override {
    return index == 0 ? std::nullopt : Value(blockFields("p"));
  }
};

TEST(DamagedRecordsToSave, areLeftOutWhenTheyAreMade) {
  RecordingOutput log;
  const RecordsToSave records(entriesOf({}), std::make_shared<const DamagedEntries>(),
                              entriesOf({}), rulesZone, log);
  EXPECT_EQ(records.size(), 2U);
  ASSERT_THAT(records.all(), SizeIs(1));
  EXPECT_EQ(records.all().front().recordID().recordName, "b");
  EXPECT_THAT(log.lines, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
