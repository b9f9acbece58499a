#pragma once

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/CloudKit/CKContainer.h"
#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"
#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"
#include "Platform/CloudKit/CKModifyRecordsOperation.h"
#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/ThreadExecutor.h"
#include "Tests/Support/RecordingOutput.h"

namespace orvane::test {

/// One machine of a user, which waits for each answer of the cloud.
class CloudSession {
 public:
  struct Modified {
    std::vector<CKRecord> saved;
    std::vector<CKRecordID> deleted;
    std::optional<CKError> error;
  };
  struct Fetched {
    std::vector<CKRecord> changed;
    std::vector<std::string> deleted;
    std::optional<CKServerChangeToken> token;
    bool moreComing = false;
    std::optional<CKError> error;
  };

  explicit CloudSession(std::unique_ptr<CloudBackend> itsBackend)
      : backend(std::move(itsBackend)) {}

  Modified modify(std::vector<CKRecord> saves, std::vector<CKRecordID> deletions = {}) {
    const auto operation =
        std::make_shared<CKModifyRecordsOperation>(std::move(saves), std::move(deletions));
    const auto result = add(operation);
    return result->get_future().get();
  }
  /// Adds the operation to the queue.
  std::shared_ptr<std::promise<Modified>> add(
      const std::shared_ptr<CKModifyRecordsOperation>& operation) {
    auto result = std::make_shared<std::promise<Modified>>();
    operation->setDatabase(container.privateCloudDatabase());
    operation->setModifyRecordsCompletionBlock(
        [result](const auto& saved, const auto& deleted, const auto& error) {
          result->set_value({saved, deleted, error});
        });
    queue.addOperation(operation);
    return result;
  }

  std::optional<CKError> saveZone(const std::string& name = "Zone") {
    return modifyZones({CKRecordZone(name)}, {});
  }
  std::optional<CKError> deleteZone(const std::string& name = "Zone") {
    return modifyZones({}, {CKRecordZoneID{name}});
  }

  std::optional<CKError> subscribe(const std::string& subscriptionID,
                                   const std::string& zone = "Zone") {
    std::promise<std::optional<CKError>> result;
    const auto operation = std::make_shared<CKModifySubscriptionsOperation>(
        std::vector<CKSubscription>{{subscriptionID, {zone}}});
    operation->setModifySubscriptionsCompletionBlock(
        [&](const auto& /*saved*/, const auto& error) { result.set_value(error); });
    container.privateCloudDatabase().addOperation(operation);
    return result.get_future().get();
  }

  Fetched fetch(const std::optional<CKServerChangeToken>& token = std::nullopt,
                const std::string& zone = "Zone") {
    std::promise<void> end;
    Fetched fetched;
    const auto operation =
        std::make_shared<CKFetchRecordZoneChangesOperation>(CKRecordZoneID{zone}, token);
    operation->setRecordChangedBlock(
        [&](const CKRecord& record) { fetched.changed.push_back(record); });
    operation->setRecordWithIDWasDeletedBlock(
        [&](const CKRecordID& recordID, const std::string& /*recordType*/) {
          fetched.deleted.push_back(recordID.recordName);
        });
    operation->setRecordZoneFetchCompletionBlock([&](const auto& result) {
      fetched.token = result.token;
      fetched.moreComing = result.moreComing;
      fetched.error = result.error;
      end.set_value();
    });
    container.privateCloudDatabase().addOperation(operation);
    end.get_future().wait();
    return fetched;
  }

  std::optional<CKError> report(const CKRecord& record) {
    std::promise<std::optional<CKError>> result;
    container.publicCloudDatabase().saveRecord(
        record, [&](const auto& /*saved*/, const auto& error) { result.set_value(error); });
    return result.get_future().get();
  }

  CKAccountStatus accountStatus() {
    std::promise<CKAccountStatus> result;
    container.accountStatus(
        [&](CKAccountStatus status, const auto& /*error*/) { result.set_value(status); });
    return result.get_future().get();
  }

  std::unique_ptr<CloudBackend> backend;
  RecordingOutput systemLog;  ///< written on the cloud queue
  ThreadExecutor callbackQueue{"callbacks"};
  ThreadExecutor cloudQueue{"cloud"};
  CKContainer container{"iCloud.test", {*backend, cloudQueue, callbackQueue, systemLog}};
  SerialQueueFactory makeSerialQueue = [](const std::string& label) {
    return std::make_unique<ThreadExecutor>(label);
  };
  NSOperationQueue queue{makeSerialQueue, {.name = "requests"}};

 private:
  std::optional<CKError> modifyZones(std::vector<CKRecordZone> saves,
                                     std::vector<CKRecordZoneID> deletions) {
    std::promise<std::optional<CKError>> result;
    const auto operation =
        std::make_shared<CKModifyRecordZonesOperation>(std::move(saves), std::move(deletions));
    operation->setModifyRecordZonesCompletionBlock(
        [&](const auto& /*saved*/, const auto& /*deleted*/, const auto& error) {
          result.set_value(error);
        });
    container.privateCloudDatabase().addOperation(operation);
    return result.get_future().get();
  }
};

}  // namespace orvane::test
