#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Platform/CloudKit/CKFetchRecordZoneChangesOperation.h"
#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"
#include "Platform/CloudKit/CKModifyRecordsOperation.h"
#include "Platform/CloudKit/CKModifySubscriptionsOperation.h"

namespace orvane {

// The requests of a sync. Those that are made with a database are ready for a queue.

/// Saves the zone, and deletes none.
std::shared_ptr<CKModifyRecordZonesOperation> saveZoneOperation(const CKDatabase& database,
                                                                const CKRecordZone& zone);

/// Saves a subscription for the zone, under a name that no other one has.
std::shared_ptr<CKModifySubscriptionsOperation> subscribeToChangesOperation(
    const CKDatabase& database, const CKRecordZone& zone, const std::string& subscriptionID);

/// Saves the records and deletes those with the IDs, in pieces: each list is cut into pieces of
/// `count / split`, but at least one, and the first operation has the first piece of both. Since
/// the last piece may be shorter, there may be more operations than `split`,
/// which is at least 1; none without a change.
std::vector<std::shared_ptr<CKModifyRecordsOperation>> modifyRecordsOperations(
    const CKDatabase& database, std::vector<CKRecord> recordsToSave,
    std::vector<CKRecordID> recordIDsToDelete, std::size_t split);

/// Fetches what has changed in the zone behind the token, or everything.
std::shared_ptr<CKFetchRecordZoneChangesOperation> fetchChangesOperation(
    const CKRecordZone& zone, const std::optional<CKServerChangeToken>& previousToken);

}  // namespace orvane
