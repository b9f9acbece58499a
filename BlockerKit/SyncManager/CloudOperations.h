#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BlockerKit/SyncManager/RecordsToSave.h"
#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"
#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"
#include "Platform/CloudKit/CKModifyRecordsOperation.h"
#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"

namespace orvane {

// The requests of a sync, ready for a queue or for the database.

/// Saves the zone, and deletes none.
std::shared_ptr<CKModifyRecordZonesOperation> saveZoneOperation(const CKDatabase& database,
                                                                const CKRecordZone& zone);

/// Saves a subscription for the zone, under a name that no other one has, in the form that the
/// system offers. Its pushes are silent.
std::shared_ptr<CKModifySubscriptionsOperation> subscribeToChangesOperation(
    const CKDatabase& database, const CKRecordZone& zone, const std::string& subscriptionID);

/// Saves the records and deletes those with the IDs, in pieces: each list is cut into pieces of
/// `count / split`, but at least one, and the first operation has the first piece of both. Since
/// the last piece may be shorter, there may be more operations than `split`,
/// which is at least 1; none without a change. An operation makes its records when its turn comes.
std::vector<std::shared_ptr<CKModifyRecordsOperation>> modifyRecordsOperations(
    const CKDatabase& database, RecordsToSave recordsToSave,
    std::vector<CKRecordID> recordIDsToDelete, std::size_t split);

/// What becomes of a fetch, whatever its form.
struct FetchHandlers {
  std::function<void(const CKRecord&)> recordChanged;
  std::function<void(const CKRecordID&)> recordDeleted;
  std::function<void(const CKFetchRecordZoneChangesOperation::ZoneResult&)> zoneFetchCompleted;
};

/// Fetches what has changed in the zone behind the token, or everything, in the form that the
/// system offers.
std::shared_ptr<CKDatabaseOperation> fetchChangesOperation(
    const CKDatabase& database, const CKRecordZone& zone,
    const std::optional<CKServerChangeToken>& previousToken, const FetchHandlers& handlers);

}  // namespace orvane
