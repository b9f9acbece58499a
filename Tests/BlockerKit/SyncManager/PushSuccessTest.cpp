#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PushSuccess : public ConnectedMachine {
 protected:
  /// What the user does with a rule while the next request for changes of records is under way.
  void whileItIsSent(std::function<void(SyncManager&)> edit) {
    during(CloudRequest::modifyRecords, [this, edit = std::move(edit)] { edit(*machine->sync); });
  }
  const Package package = packageOf("block-url");
};

TEST_F(PushSuccess, isPrinted) {
  queueRules(2);
  push();
  EXPECT_THAT(take(),
              ElementsAre("Records to add/modify 2", "Records to delete 0",
                          "Splitting data into 1 operations", "Local changes pushed successfully!",
                          "Changetag for rule-0: 1", "Changetag for rule-1: 2"));
}

TEST_F(PushSuccess, emptiesTheQueueOfWhatWasSent) {
  set("AddedPackages", Dictionary{{"p", packageFields()}});
  queueRules(1);
  set("DeletedRules", Array{"r"});
  set("DeletedPackages", Array{"q"});
  push();
  EXPECT_EQ(object("AddedPackages"), Value(Dictionary{}));
  EXPECT_EQ(object("AddedRules"), Value(Dictionary{}));
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
  EXPECT_EQ(object("DeletedPackages"), Value(Array{}));
  EXPECT_THAT(cloudSide.names(), ElementsAre("p", "rule-0"));
}

TEST_F(PushSuccess, isFlushedOnce) {
  queueRules(1);
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  push();
  EXPECT_EQ(machine->machine.suiteAtRisk.synchronizations, before + 1);
}

TEST_F(PushSuccess, remembersTheChangeTagForTheNextSave) {
  machine->sync->ruleAdded(blockRule("a"), package);
  machine->run();
  machine->sync->ruleAdded(blockRule("a", "changed"), package);
  listRequests();
  machine->run();
  ASSERT_EQ(batches.size(), 1U);
  EXPECT_EQ(batches[0].recordsToSave.at(0).recordChangeTag(), "1");
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "changed");
}

TEST_F(PushSuccess, keepsTheMetadataOfOtherRecords) {
  queueRules(1);
  push();
  machine->sync->ruleAdded(blockRule("a"), package);
  machine->run();
  EXPECT_TRUE(hasMetadata("rule-0"));
  EXPECT_TRUE(hasMetadata("a"));
}

TEST_F(PushSuccess, ofOnePieceLeavesTheOthersInTheQueue) {
  queueRules(2);
  machine->cloud().failWith(CloudRequest::modifyRecords, errorOf(CKErrorCode::internalError));
  push(2);
  EXPECT_TRUE(isAdded("rule-0"));
  EXPECT_FALSE(isAdded("rule-1"));
}

TEST_F(PushSuccess, leavesAnEditThatWasMadeMeanwhile) {
  machine->sync->ruleAdded(blockRule("a"), package);
  whileItIsSent(
      [&](SyncManager& sync) { sync.ruleAdded(blockRule("a", "changed meanwhile"), package); });
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "changed meanwhile");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(PushSuccess, leavesADeletionThatWasMadeMeanwhile) {
  machine->sync->ruleAdded(blockRule("a"), package);
  whileItIsSent([&](SyncManager& sync) { sync.ruleDeleted(blockRule("a"), package); });
  machine->run();
  EXPECT_THAT(cloudSide.names(), IsEmpty());
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
}

TEST_F(PushSuccess, leavesARuleThatWasMadeAgainWhileItsDeletionWasSent) {
  machine->sync->ruleAdded(blockRule("a"), package);
  machine->run();
  machine->sync->ruleDeleted(blockRule("a"), package);
  whileItIsSent([&](SyncManager& sync) { sync.ruleAdded(blockRule("a", "again"), package); });
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "again");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(PushSuccess, letsARuleThatWasDeletedBeMadeAgainUnderItsName) {
  machine->sync->ruleAdded(blockRule("a"), package);
  machine->run();
  machine->sync->ruleDeleted(blockRule("a"), package);
  machine->run();
  EXPECT_FALSE(hasMetadata("a"));
  machine->sync->ruleAdded(blockRule("a", "again"), package);
  machine->run();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "again");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(PushSuccess, countsADeletionOfWhatTheCloudDoesNotHave) {
  set("DeletedRules", Array{"never there"});
  push();
  EXPECT_THAT(take(), Contains("Local changes pushed successfully!"));
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
}

TEST_F(PushSuccess, thatCannotBeWrittenDownSendsAllOnceMore) {
  queueRules(1);
  during(CloudRequest::modifyRecords, [this] { machine->machine.suiteAtRisk.fails = true; });
  push();
  machine->machine.suiteAtRisk.fails = false;
  EXPECT_TRUE(isAdded("rule-0"));
  push();
  EXPECT_FALSE(isAdded("rule-0"));
  EXPECT_EQ(count("Local record is a full duplicate of server version, minus metadata"), 1U);
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(PushSuccess, whoseAnswerIsLostFindsItselfInTheCloud) {
  machine->sync->ruleAdded(blockRule("a"), package);
  machine->cloud().loseAnswer();
  machine->run();
  EXPECT_TRUE(isAdded("a"));
  advance(1s);
  EXPECT_FALSE(isAdded("a"));
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "x");
}

TEST_F(PushSuccess, doesNotMakeTheDelayTheFirstOneAgain) {
  queueRules(1);
  machine->cloud().failWith(CloudRequest::modifyRecords, errorOf(CKErrorCode::networkFailure));
  push();
  advance(2s);
  EXPECT_FALSE(isAdded("rule-0"));
  take();
  queueRules(1);
  machine->cloud().failWith(CloudRequest::modifyRecords, errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(4s))));
}

}  // namespace
}  // namespace orvane::test
