#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using Sizes = std::vector<std::pair<std::size_t, std::size_t>>;

class Push : public ConnectedMachine {
 protected:
  Sizes sizes() const {
    Sizes sizes;
    for (const auto& batch : batches) {
      sizes.emplace_back(batch.recordsToSave.size(), batch.recordIDsToDelete.size());
    }
    return sizes;
  }
};

TEST_F(Push, saysWhatItSends) {
  queueRules(10);
  set("DeletedRules", Array{"gone", "gone too"});
  machine->sync->pushAllLocalUpdates(3);
  while (!machine->hasPrinted("Splitting data into 3 operations")) {
    ASSERT_TRUE(machine->machine.time.runOne());
  }
  EXPECT_THAT(take(), ElementsAre("Records to add/modify 10", "Records to delete 2",
                                  "Splitting data into 3 operations"));
}

TEST_F(Push, withoutAChangeAsksNothing) {
  listRequests();
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush));
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(Push, cutsTheRecordsIntoPieces) {
  queueRules(10);
  listRequests();
  push(3);
  EXPECT_EQ(sizes(), (Sizes{{3, 0}, {3, 0}, {3, 0}, {1, 0}}));
}

TEST_F(Push, cutsTheDeletionsIntoPiecesOfTheirOwn) {
  queueRules(5);
  set("DeletedRules", Array{"gone"});
  listRequests();
  push(2);
  EXPECT_EQ(sizes(), (Sizes{{2, 1}, {2, 0}, {1, 0}}));
}

TEST_F(Push, ofDeletionsAloneIsARequestToo) {
  set("DeletedRules", Array{"a", "b", "c"});
  listRequests();
  push();
  EXPECT_EQ(sizes(), (Sizes{{0, 3}}));
}

TEST_F(Push, savesPackagesBeforeRulesAndDeletesRulesBeforePackages) {
  set("AddedPackages", Dictionary{{"z-package", packageFields()}});
  queueRules(1);
  set("DeletedPackages", Array{"a-package"});
  set("DeletedRules", Array{"z-rule"});
  listRequests();
  push();
  ASSERT_EQ(batches.size(), 1U);
  const auto& batch = batches.front();
  ASSERT_EQ(batch.recordsToSave.size(), 2U);
  EXPECT_EQ(batch.recordsToSave[0].recordID().recordName, "z-package");
  EXPECT_EQ(batch.recordsToSave[1].recordID().recordName, "rule-0");
  ASSERT_EQ(batch.recordIDsToDelete.size(), 2U);
  EXPECT_EQ(batch.recordIDsToDelete[0].recordName, "z-rule");
  EXPECT_EQ(batch.recordIDsToDelete[1].recordName, "a-package");
  EXPECT_EQ(batch.zoneID, rulesZone);
}

TEST_F(Push, takesThePlaceOfOneThatWaits) {
  queueRules(4);
  listRequests();
  machine->sync->pushAllLocalUpdates(4);
  machine->sync->pushAllLocalUpdates(1);
  machine->run();
  EXPECT_EQ(sizes(), (Sizes{{4, 0}}));
  EXPECT_EQ(count("rule-0 The operation was cancelled."), 1U);
  EXPECT_EQ(count("rule-3 The operation was cancelled."), 1U);
}

TEST_F(Push, thatIsCancelledLeavesItsChangesInTheQueue) {
  queueRules(2);
  machine->cloud().failWith(CloudRequest::modifyRecords, errorOf(CKErrorCode::operationCancelled));
  push();
  EXPECT_TRUE(isAdded("rule-0"));
  EXPECT_TRUE(isAdded("rule-1"));
}

TEST_F(Push, isAskedForByAHookOnceTheChangeIsFlushed) {
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  EXPECT_EQ(machine->machine.suiteAtRisk.synchronizations, before + 1);
  EXPECT_THAT(take(), IsEmpty());
  machine->run();
  EXPECT_EQ(count("Records to add/modify 1"), 1U);
  EXPECT_THAT(cloudSide.names(), ElementsAre("a"));
}

TEST_F(Push, isAskedForByEveryHook) {
  const auto package = packageOf("p", {blockRule("a")});
  const std::vector<std::function<void(SyncManager&)>> hooks{
      [&](SyncManager& sync) { sync.packageAdded(package); },
      [&](SyncManager& sync) { sync.ruleAdded(blockRule("b"), package); },
      [&](SyncManager& sync) { sync.ruleCollectionAdded(package.rules, package); },
      [&](SyncManager& sync) { sync.ruleDeleted(blockRule("b"), package); },
      [&](SyncManager& sync) { sync.packageDeleted(package); }};
  for (const auto& hook : hooks) {
    listRequests();
    hook(*machine->sync);
    machine->run();
    EXPECT_EQ(batches.size(), 1U);
  }
  EXPECT_THAT(cloudSide.names(), IsEmpty());
}

TEST_F(Push, isAskedForByAHookWhoseChangeCouldNotBeStored) {
  queueRules(1);
  machine->machine.suiteAtRisk.fails = true;
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  machine->machine.suiteAtRisk.fails = false;
  machine->run();
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(NewMachine, savesTheSubscriptionAndTheZoneWhenThereIsNothingToPush) {
  listRequests();
  machine->sync->pushAllLocalUpdates(1);
  EXPECT_EQ(printedByRun().front(), nothingToPush);
  EXPECT_THAT(requests, ElementsAre(CloudRequest::accountStatus, CloudRequest::saveZone,
                                    CloudRequest::fetchChanges, CloudRequest::saveSubscription));
}

TEST(AManagerWithoutAContainer, recordsAndAsksNothing) {
  SyncProcess process;
  bool asked = false;
  process.machine.machine->cloud->watch([&](auto, auto) { asked = true; });
  const auto package = packageOf("p", {blockRule("a")});
  process.sync.update({package});
  process.sync.ruleAdded(blockRule("b"), package);
  process.sync.pushAllLocalUpdates(1);
  process.sync.fetchRemoteChanges([](bool) { ADD_FAILURE(); });
  process.sync.handleNotification({}, [](bool) { ADD_FAILURE(); });
  process.machine.notificationCenter.post({.name = CKAccountChanged});
  process.machine.notificationCenter.post(
      {.name = NSUbiquitousKeyValueStoreDidChangeExternallyNotification});
  process.machine.time.runUntilIdle();
  EXPECT_FALSE(asked);
  EXPECT_THAT(process.printed(), ElementsAre("Preparing packages for initial sync"));
  EXPECT_EQ(process.addedRules(),
            Value(Dictionary{{"a", blockFields("p")}, {"b", blockFields("p")}}));
  EXPECT_THAT(process.machine.queueLabels, Not(Contains("sync")));
}

}  // namespace
}  // namespace orvane::test
