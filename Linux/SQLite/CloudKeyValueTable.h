#pragma once

#include <optional>
#include <string>

#include "Linux/SQLite/CloudZones.h"

namespace orvane {

/// The user's key-value store in an open cloud. One thread at a time.
class CloudKeyValueTable {
 public:
  /// The connection outlives it.
  explicit CloudKeyValueTable(const SQLiteConnection& connection);

  CKResult<CloudHistory> history();

  /// Makes the changes, within the quota. For a transaction, which an error ends.
  CKResult<void> make(const CloudKeyValueChanges& changes);

  /// What has changed behind the token, but for the keys of `except`. For a transaction.
  CKResult<CloudKeyValues> changes(const std::optional<CKServerChangeToken>& token,
                                   const CloudKeyValueChanges& except);

 private:
  CKResult<void> set(const std::string& key, const std::optional<PropertyListValue>& value,
                     std::int64_t tag);
  CKResult<void> checkQuota();
  template <typename... Parameters>
  CKResult<void> write(const SQLiteStatement& statement, const Parameters&... parameters);

  const SQLiteConnection& connection_;
  SQLiteStatement history_;
  SQLiteStatement setLastChange_;
  SQLiteStatement set_;
  SQLiteStatement usage_;
  SQLiteStatement changes_;
};

}  // namespace orvane
