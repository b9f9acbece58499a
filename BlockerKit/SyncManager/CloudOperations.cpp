#include "BlockerKit/SyncManager/CloudOperations.h"

#include <algorithm>
#include <span>
#include <utility>

namespace orvane {
namespace {

template <typename Item>
std::vector<std::vector<Item>> pieces(std::span<const Item> items, std::size_t split) {
  const auto size = std::max<std::size_t>(items.size() / split, 1);
  std::vector<std::vector<Item>> result;
  while (!items.empty()) {
    const auto piece = items.first(std::min(size, items.size()));
    result.emplace_back(piece.begin(), piece.end());
    items = items.subspan(piece.size());
  }
  return result;
}

template <typename Item>
std::vector<Item> takePiece(std::vector<std::vector<Item>>& all, std::size_t index) {
  return index < all.size() ? std::move(all[index]) : std::vector<Item>();
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
  auto operation = std::make_shared<CKModifySubscriptionsOperation>(
      std::vector<CKRecordZoneSubscription>{{subscriptionID, zone.zoneID}});
  operation->setDatabase(database);
  return operation;
}

std::vector<std::shared_ptr<CKModifyRecordsOperation>> modifyRecordsOperations(
    const CKDatabase& database, const std::vector<CKRecord>& recordsToSave,
    const std::vector<CKRecordID>& recordIDsToDelete, std::size_t split) {
  auto records = pieces<CKRecord>(recordsToSave, split);
  auto recordIDs = pieces<CKRecordID>(recordIDsToDelete, split);
  std::vector<std::shared_ptr<CKModifyRecordsOperation>> operations(
      std::max(records.size(), recordIDs.size()));
  for (std::size_t index = 0; index < operations.size(); ++index) {
    operations[index] = std::make_shared<CKModifyRecordsOperation>(takePiece(records, index),
                                                                   takePiece(recordIDs, index));
    operations[index]->setDatabase(database);
  }
  return operations;
}

std::shared_ptr<CKFetchRecordZoneChangesOperation> fetchChangesOperation(
    const CKRecordZone& zone, const std::optional<CKServerChangeToken>& previousToken) {
  return std::make_shared<CKFetchRecordZoneChangesOperation>(zone.zoneID, previousToken);
}

}  // namespace orvane
