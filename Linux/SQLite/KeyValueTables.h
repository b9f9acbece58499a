#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include "Linux/SQLite/KeyValueFile.h"
#include "Linux/SQLite/SQLiteStatement.h"
#include "Platform/Foundation/KeyValueEntries.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The statements on the tables of an open file of keys and values. One thread at a time.
class KeyValueTables {
 public:
  using Value = std::optional<PropertyListValue>;
  using Data = PropertyListValue::Data;

  struct Key {
    std::int64_t id;
    KeyKind kind;
    std::int64_t count;
  };

  static Expected<std::unique_ptr<KeyValueTables>> open(const std::filesystem::path& path,
                                                        const std::filesystem::path& doorbell);

  SQLiteConnection& connection() { return connection_; }

  Expected<Value> value(std::string_view key);
  Expected<Value> entry(std::string_view key, std::string_view name);
  Expected<std::uint64_t> changeCount(std::string_view key);
  /// Another number after a commit of another connection.
  Expected<std::uint64_t> dataVersion();

  // What follows is for a transaction.

  Expected<void> begin();
  Expected<void> commit();
  void rollBack();

  /// Those that have a value.
  Expected<std::vector<std::string>> keys();
  Expected<std::optional<Key>> find(std::string_view key);
  Expected<bool> holds(const Key& key, const Data& value);
  /// Adds a key that has changed once.
  Expected<Key> add(std::string_view key);
  Expected<void> count(const Key& key);
  Expected<void> set(const Key& key, KeyKind kind, const std::optional<Data>& value);

  // Both say whether that was a change.
  Expected<bool> setEntry(const Key& key, std::string_view name, const Data& value);
  Expected<bool> removeEntry(const Key& key, std::string_view name);
  Expected<void> removeEntries(const Key& key);
  Expected<std::vector<std::string>> entryNames(const Key& key);

  using Entries = std::shared_ptr<const KeyValueEntries>;
  Expected<Entries> entries(const Key& key);
  /// The same, but while somebody keeps those that were read before and the key's count is still
  /// what it was then, they are not read again. Only for a key that the running transaction has not
  /// changed: it counts once, and perhaps is rolled back.
  Expected<Entries> committedEntries(const Key& key);

 private:
  explicit KeyValueTables(SQLiteConnection connection);
  bool isPrepared() const;
  Expected<PropertyListValue> dictionary(std::int64_t id);
  tl::unexpected<NSError> failure(std::string_view operation) const;
  template <typename... Parameters>
  Expected<void> write(const SQLiteStatement& statement, const Parameters&... parameters);
  template <typename... Parameters>
  Expected<bool> writeAndCompare(const SQLiteStatement& statement, const Parameters&... parameters);

  struct Read {
    std::int64_t count;
    std::weak_ptr<const KeyValueEntries> entries;
  };

  /// By the keys' IDs.
  std::map<std::int64_t, Read> read_;

  // The statements end before their connection.
  SQLiteConnection connection_;
  SQLiteStatement begin_;
  SQLiteStatement commit_;
  SQLiteStatement rollBack_;
  SQLiteStatement dataVersion_;
  SQLiteStatement value_;
  SQLiteStatement entry_;
  SQLiteStatement entries_;
  SQLiteStatement entryNames_;
  SQLiteStatement changeCount_;
  SQLiteStatement keys_;
  SQLiteStatement find_;
  SQLiteStatement holds_;
  SQLiteStatement add_;
  SQLiteStatement count_;
  SQLiteStatement set_;
  SQLiteStatement setEntry_;
  SQLiteStatement removeEntry_;
  SQLiteStatement removeEntries_;
};

}  // namespace orvane
