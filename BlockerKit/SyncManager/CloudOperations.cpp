#include "BlockerKit/SyncManager/CloudOperations.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "Platform/CloudKit/CKFetchRecordChangesOperation.h"

namespace orvane {
namespace {

/// How a list of that many items is cut.
class Pieces {
 public:
  struct Piece {
    std::size_t begin;
    std::size_t end;

    std::size_t size() const { return end - begin; }
  };

  Pieces(std::size_t itemCount, std::size_t split)
      : itemCount_(itemCount), size_(std::max<std::size_t>(itemCount / split, 1)) {}

  std::size_t count() const { return (itemCount_ + size_ - 1) / size_; }

  /// Empty behind the last one.
  Piece at(std::size_t index) const {
    const auto begin = std::min(index * size_, itemCount_);
    return {begin, std::min(begin + size_, itemCount_)};
  }

 private:
  std::size_t itemCount_;
  std::size_t size_;
};

CKModifyRecordsOperation::PendingRecords pendingRecords(
    const std::shared_ptr<const RecordsToSave>& records, const Pieces::Piece& piece) {
  if (piece.size() == 0) return {};
  return {.count = piece.size(),
          .firstID = records->recordID(piece.begin),
          .make = [records, piece] { return records->records(piece.begin, piece.end); }};
}

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
    const CKDatabase& database, RecordsToSave recordsToSave,
    std::vector<CKRecordID> recordIDsToDelete, std::size_t split) {
  const Pieces records(recordsToSave.size(), split);
  const Pieces recordIDs(recordIDsToDelete.size(), split);
  const auto shared = std::make_shared<const RecordsToSave>(std::move(recordsToSave));
  std::vector<std::shared_ptr<CKModifyRecordsOperation>> operations(
      std::max(records.count(), recordIDs.count()));
  for (std::size_t index = 0; index < operations.size(); ++index) {
    const auto [begin, end] = recordIDs.at(index);
    operations[index] = std::make_shared<CKModifyRecordsOperation>(
        pendingRecords(shared, records.at(index)),
        std::vector(recordIDsToDelete.begin() + static_cast<std::ptrdiff_t>(begin),
                    recordIDsToDelete.begin() + static_cast<std::ptrdiff_t>(end)));
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
