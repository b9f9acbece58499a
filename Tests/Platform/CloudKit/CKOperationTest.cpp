#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/CloudKit/CKContainer.h"
#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"
#include "Platform/CloudKit/CKModifyRecordsOperation.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/SimulatedCloud.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Requests to a cloud in memory, on a virtual clock.
class CloudOperation : public ::testing::Test {
 protected:
  std::shared_ptr<CKModifyRecordZonesOperation> savingZone(const std::string& name) {
    auto operation = std::make_shared<CKModifyRecordZonesOperation>(std::vector{CKRecordZone(name)},
                                                                    std::vector<CKRecordZoneID>{});
    operation->setDatabase(container.privateCloudDatabase());
    operation->setModifyRecordZonesCompletionBlock(
        [this, name](const auto& /*saved*/, const auto& /*deleted*/, const auto& error) {
          said.push_back(error ? name + ": " + error->localizedDescription : name);
        });
    return operation;
  }

  VirtualTime time;
  SimulatedCloud cloud;
  std::unique_ptr<CloudBackend> backend = cloud.connect("mia");
  RecordingOutput systemLog;
  std::unique_ptr<Executor> cloudQueue = time.makeExecutor();
  std::unique_ptr<Executor> callbackQueue = time.makeExecutor();
  CKContainer container{"iCloud.test", {*backend, *cloudQueue, *callbackQueue, systemLog}};
  SerialQueueFactory makeSerialQueue = [this](const std::string&) { return time.makeExecutor(); };
  std::unique_ptr<NSOperationQueue> queue = std::make_unique<NSOperationQueue>(
      makeSerialQueue, NSOperationQueue::Properties{.name = "requests"});
  std::vector<std::string> said;
};

TEST_F(CloudOperation, callsBackOnceBehindTheCall) {
  queue->addOperation(savingZone("a"));
  EXPECT_THAT(said, IsEmpty());
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("a"));
}

TEST_F(CloudOperation, isFinishedWhenItHasCalledBack) {
  const auto first = savingZone("a");
  const auto second = savingZone("b");
  bool wasFinished = true;
  first->setModifyRecordZonesCompletionBlock(
      [&](const auto&, const auto&, const auto&) { wasFinished = first->isFinished(); });
  second->addDependency(first);
  queue->addOperation(second);
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_FALSE(wasFinished);
  EXPECT_TRUE(first->isFinished());
  EXPECT_THAT(said, ElementsAre("b"));
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST_F(CloudOperation, runsAloneInASerialQueue) {
  queue->addOperation(savingZone("a"));
  const auto second = savingZone("b");
  queue->addOperation(second);
  while (said.empty()) ASSERT_TRUE(time.runOne());
  EXPECT_FALSE(second->isFinished());
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("a", "b"));
}

TEST_F(CloudOperation, saysThatItWasCancelledBeforeItBegan) {
  queue->addOperation(savingZone("a"));
  queue->addOperation(savingZone("b"));
  queue->cancelAllOperations();
  time.runUntilIdle();
  EXPECT_THAT(said,
              ElementsAre("a: The operation was cancelled.", "b: The operation was cancelled."));
  EXPECT_TRUE(backend->saveZone({"a"}, {}).has_value()) << "nothing was asked of the cloud";
}

TEST_F(CloudOperation, mayFinishWhenItsQueueIsGone) {
  const auto operation = savingZone("a");
  bool isCompleted = false;
  operation->setCompletionBlock([&] { isCompleted = true; });
  queue->addOperation(operation);
  ASSERT_TRUE(time.runOne()) << "the request is on its way to the cloud";
  queue.reset();
  EXPECT_FALSE(operation->isFinished());
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("a"));
  EXPECT_TRUE(operation->isFinished());
  EXPECT_TRUE(isCompleted);
}

TEST_F(CloudOperation, needsNoQueue) {
  container.privateCloudDatabase().addOperation(savingZone("a"));
  EXPECT_THAT(said, IsEmpty());
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("a"));
}

TEST_F(CloudOperation, passesTheCodeOfAnErrorOn) {
  CKError failure;
  failure.code = CKErrorCode::zoneBusy;
  failure.localizedDescription = "Busy.";
  failure.retryAfter = 0.5;
  cloud.failWith(failure);
  queue->addOperation(savingZone("a"));
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("a: Busy."));
}

TEST_F(CloudOperation, withoutRecordsAsksForNothing) {
  const auto operation = std::make_shared<CKModifyRecordsOperation>(std::vector<CKRecord>{},
                                                                    std::vector<CKRecordID>{});
  operation->setModifyRecordsCompletionBlock([this](const auto&, const auto&, const auto& error) {
    said.emplace_back(error ? "error" : "done");
  });
  container.privateCloudDatabase().addOperation(operation);
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("done"));
}

/// Requests whose records are made when they are sent.
class PendingRecords : public CloudOperation {
 protected:
  PendingRecords() { EXPECT_TRUE(backend->saveZone(zoneID, {}).has_value()); }

  std::shared_ptr<CKModifyRecordsOperation> saving(std::size_t count,
                                                   std::vector<CKRecord> records) {
    auto operation = std::make_shared<CKModifyRecordsOperation>(
        CKModifyRecordsOperation::PendingRecords{.count = count,
                                                 .firstID = {"a", zoneID},
                                                 .make =
                                                     [this, records = std::move(records)] {
                                                       ++makings;
                                                       return records;
                                                     }},
        std::vector<CKRecordID>{});
    operation->setDatabase(container.privateCloudDatabase());
    operation->setModifyRecordsCompletionBlock(
        [this](const auto& saved, const auto& /*deleted*/, const auto& error) {
          said.push_back(error ? error->localizedDescription : std::to_string(saved.size()));
        });
    return operation;
  }

  const CKRecordZoneID zoneID{"Zone"};
  int makings = 0;
};

TEST_F(PendingRecords, areMadeWhenTheirTurnComes) {
  const auto operation = saving(1, {CKRecord("rule", {"a", zoneID})});
  EXPECT_EQ(operation->recordCount(), 1U);
  EXPECT_EQ(operation->firstItemID(), (CKRecordID{"a", zoneID}));
  queue->addOperation(operation);
  EXPECT_EQ(makings, 0);
  time.runUntilIdle();
  EXPECT_EQ(makings, 1);
  EXPECT_THAT(said, ElementsAre("1"));
}

TEST_F(PendingRecords, areNotMadeForARequestThatIsTooLarge) {
  queue->addOperation(saving(401, {}));
  time.runUntilIdle();
  EXPECT_EQ(makings, 0);
  EXPECT_THAT(said, ElementsAre("401 records are more than the 400 of one request."));
}

TEST_F(PendingRecords, areNotMadeForARequestThatIsCancelled) {
  queue->addOperation(saving(1, {CKRecord("rule", {"a", zoneID})}));
  queue->cancelAllOperations();
  time.runUntilIdle();
  EXPECT_EQ(makings, 0);
  EXPECT_THAT(said, ElementsAre("The operation was cancelled."));
}

TEST_F(PendingRecords, thatTurnOutToBeNoneAskForNothing) {
  queue->addOperation(saving(1, {}));
  time.runUntilIdle();
  EXPECT_THAT(said, ElementsAre("0"));
}

TEST_F(CloudOperation, ofTheAccountSaysTheErrorAndThatTheStatusIsNotKnown) {
  CKError failure;
  failure.code = CKErrorCode::networkFailure;
  failure.localizedDescription = "No answer.";
  cloud.failWith(failure);
  std::optional<CKAccountStatus> status;
  container.accountStatus([&](CKAccountStatus answer, const std::optional<CKError>& error) {
    status = answer;
    said.push_back(error->localizedDescription);
  });
  EXPECT_EQ(status, std::nullopt);
  time.runUntilIdle();
  EXPECT_EQ(status, CKAccountStatus::couldNotDetermine);
  EXPECT_THAT(said, ElementsAre("No answer."));
}

}  // namespace
}  // namespace orvane::test
