#pragma once

#include <optional>
#include <string>

#include "Linux/SQLite/CloudZones.h"

namespace orvane {

/// The records of the zones of an open cloud, and the public ones. The methods that write are for a
/// transaction, which an error of theirs ends. One thread at a time.
class CloudRecords {
 public:
  /// The connection outlives it.
  explicit CloudRecords(const SQLiteConnection& connection);

  struct Modified {
    CloudBatchResult result;
    /// Of the zone, from now on.
    std::int64_t lastChange;
  };
  CKResult<Modified> modify(const CloudZones::Zone& zone, const CloudBatch& batch);
  CKResult<CloudChanges> changes(const CloudZones::Zone& zone, const CKRecordZoneID& zoneID,
                                 const std::optional<CKServerChangeToken>& token,
                                 std::size_t limit);

  CKResult<void> addPublic(const CKRecord& record);

 private:
  using Zone = CloudZones::Zone;

  CKResult<std::optional<CKError>> conflict(const Zone& zone, const CKRecord& record);
  CKResult<void> checkConflicts(const Zone& zone, const std::vector<CKRecord>& records);
  CKResult<void> save(const Zone& zone, const CKRecord& record, std::int64_t tag);
  /// Whether there was such a record.
  CKResult<bool> remove(const Zone& zone, const CKRecordID& recordID, std::int64_t tag);
  CKResult<CKRecord> recordOf(const SQLiteRun& row, CKRecordID recordID);

  const SQLiteConnection& connection_;
  SQLiteStatement find_;
  SQLiteStatement save_;
  SQLiteStatement remove_;
  SQLiteStatement changes_;
  SQLiteStatement addPublic_;
};

}  // namespace orvane
