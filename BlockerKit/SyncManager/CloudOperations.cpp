#include "BlockerKit/SyncManager/CloudOperations.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

#include "Platform/CloudKit/CKFetchRecordChangesOperation.h"

namespace orvane {
namespace {

/// A list in pieces, each of which is taken once.
template <typename Item>
class Pieces {
 public:
  Pieces(std::vector<Item> items, std::size_t split)
      : items_(std::move(items)), size_(std::max<std::size_t>(items_.size() / split, 1)) {}

  std::size_t count() const { return (items_.size() + size_ - 1) / size_; }

  /// Empty behind the last one.
  std::vector<Item> take(std::size_t index) {
    const auto begin = std::min(index * size_, items_.size());
    const auto end = std::min(begin + size_, items_.size());
    const auto at = [&](std::size_t place) {
      return std::move_iterator(items_.begin() + static_cast<std::ptrdiff_t>(place));
    };
    return {at(begin), at(end)};
  }

 private:
  std::vector<Item> items_;
  std::size_t size_;
};

std::shared_ptr<CKDatabaseOperation> fetchInOlderForm(
    const CKRecordZone& zone, const std::optional<CKServerChangeToken>& previousToken,
    const FetchHandlers& handlers) {
  auto operation = std::make_shared<CKFetchRecordChangesOperation>(zone.zoneID, previousToken);
  operation->setQualityOfService(NSQualityOfService::utility);
  operation->setRecordChangedBlock(handlers.recordChanged);
  operation->setRecordWithIDWasDeletedBlock(handlers.recordDeleted);
  const auto* fetching = operation.get();  // it lives as long as its block
  operation->setFetchRecordChangesCompletionBlock(
      [fetching, completed = handlers.zoneFetchCompleted](
          const std::optional<CKServerChangeToken>& token, const std::optional<CKError>& error) {
        completed({.token = token, .moreComing = fetching->moreComing(), .error = error});
      });
  return operation;
}

}  // namespace

std::shared_ptr<CKModifyRecordZonesOperation> saveZoneOperation(const CKDatabase& database,
                                                                const CKRecordZone& zone) {
  auto operation = std::make_shared<CKModifyRecordZonesOperation>(std::vector{zone},
                                                                  std::vector<CKRecordZoneID>());
  operation->setDatabase(database);
  return operation;
}

std::shared_ptr<CKModifySubscriptionsOperation> subscribeToChangesOperation(
    const CKDatabase& database, const CKRecordZone& zone, const std::string& subscriptionID) {
  const auto type = database.connection().backend.offersRecordZoneRequests()
                        ? CKSubscriptionType::recordZone
                        : CKSubscriptionType::zone;
  const CKSubscription subscription{.subscriptionID = subscriptionID,
                                    .zoneID = zone.zoneID,
                                    .type = type,
                                    .notificationInfo = {.shouldSendContentAvailable = true}};
  auto operation =
      std::make_shared<CKModifySubscriptionsOperation>(std::vector<CKSubscription>{subscription});
  operation->setDatabase(database);
  return operation;
}

std::vector<std::shared_ptr<CKModifyRecordsOperation>> modifyRecordsOperations(
    const CKDatabase& database, std::vector<CKRecord> recordsToSave,
    std::vector<CKRecordID> recordIDsToDelete, std::size_t split) {
  Pieces records(std::move(recordsToSave), split);
  Pieces recordIDs(std::move(recordIDsToDelete), split);
  std::vector<std::shared_ptr<CKModifyRecordsOperation>> operations(
      std::max(records.count(), recordIDs.count()));
  for (std::size_t index = 0; index < operations.size(); ++index) {
    operations[index] =
        std::make_shared<CKModifyRecordsOperation>(records.take(index), recordIDs.take(index));
    operations[index]->setDatabase(database);
  }
  return operations;
}

std::shared_ptr<CKDatabaseOperation> fetchChangesOperation(
    const CKDatabase& database, const CKRecordZone& zone,
    const std::optional<CKServerChangeToken>& previousToken, const FetchHandlers& handlers) {
  if (!database.connection().backend.offersRecordZoneRequests()) {
    return fetchInOlderForm(zone, previousToken, handlers);
  }
  auto operation = std::make_shared<CKFetchRecordZoneChangesOperation>(zone.zoneID, previousToken);
  operation->setQualityOfService(NSQualityOfService::utility);
  operation->setRecordChangedBlock(handlers.recordChanged);
  operation->setRecordWithIDWasDeletedBlock(
      [deleted = handlers.recordDeleted](const CKRecordID& recordID, const std::string& /*type*/) {
        deleted(recordID);
      });
  operation->setRecordZoneFetchCompletionBlock(handlers.zoneFetchCompleted);
  return operation;
}

}  // namespace orvane
