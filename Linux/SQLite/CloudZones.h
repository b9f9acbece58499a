#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Linux/SQLite/SQLiteConnection.h"
#include "Linux/SQLite/SQLiteStatement.h"
#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

/// The changes of a zone, or of a key-value store, that somebody can have got as far as.
struct CloudHistory {
  std::int64_t first = 0;
  std::int64_t last = 0;

  CKServerChangeToken tokenAt(std::int64_t change) const { return {std::to_string(change)}; }
  /// Nothing for a token of another history.
  std::optional<std::int64_t> changeAt(const std::optional<CKServerChangeToken>& token) const;
};

/// The zones of an open cloud and their subscriptions. The methods that write are for a
/// transaction. One thread at a time.
class CloudZones {
 public:
  struct Zone {
    std::int64_t id;
    CloudHistory history;
  };

  /// The connection outlives it.
  explicit CloudZones(const SQLiteConnection& connection);

  /// `zoneNotFound` when there is none.
  CKResult<Zone> find(const CKRecordZoneID& zoneID);
  CKResult<void> setLastChange(const Zone& zone, std::int64_t change);

  CKResult<void> save(const CKRecordZoneID& zoneID);
  CKResult<void> remove(const CKRecordZoneID& zoneID);
  CKResult<void> saveSubscription(const CKSubscription& subscription);

 private:
  CKResult<void> write(const SQLiteStatement& statement, std::int64_t zone);

  const SQLiteConnection& connection_;
  SQLiteStatement find_;
  SQLiteStatement setLastChange_;
  SQLiteStatement save_;
  SQLiteStatement removeRecords_;
  SQLiteStatement removeSubscription_;
  SQLiteStatement remove_;
  SQLiteStatement findSubscription_;
  SQLiteStatement saveSubscription_;
};

}  // namespace orvane
