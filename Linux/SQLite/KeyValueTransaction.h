#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Linux/SQLite/KeyValueTables.h"
#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane {

/// A transaction on the tables that have begun one. After an error, which is kept, it does nothing
/// more and reads nothing. Rolled back at its end unless it was committed.
class KeyValueTransaction final : public KeyValueDatabase::Transaction {
 public:
  explicit KeyValueTransaction(KeyValueTables& tables) : tables_(tables) {}
  KeyValueTransaction(const KeyValueTransaction&) = delete;
  KeyValueTransaction& operator=(const KeyValueTransaction&) = delete;
  ~KeyValueTransaction() override { tables_.rollBack(); }

  using Value = std::optional<PropertyListValue>;

  std::vector<std::string> keys() override;
  Value value(std::string_view key) override;
  void setValue(std::string_view key, const Value& value) override;
  std::shared_ptr<const KeyValueEntries> entries(std::string_view key) override;
  Value entry(std::string_view key, std::string_view name) override;
  void setEntry(std::string_view key, std::string_view name, const Value& value) override;

  /// True when that changed anything; otherwise the file has not been touched.
  Expected<bool> commit();

 private:
  using Key = KeyValueTables::Key;
  using Data = KeyValueTables::Data;
  using Dictionary = PropertyListValue::Dictionary;

  Expected<void> remove(std::string_view key);
  Expected<void> setPlainValue(std::string_view key, const PropertyListValue& value);
  Expected<void> setDictionary(std::string_view key, const Dictionary& dictionary);
  Expected<void> putEntry(std::string_view key, std::string_view name,
                          const PropertyListValue& value);
  Expected<void> removeEntry(std::string_view key, std::string_view name);

  Expected<Key> dictionaryAt(std::string_view key);
  Expected<bool> removeEntriesNotIn(const Key& key, const Dictionary& dictionary);
  Expected<void> change(const Key& key, KeyKind kind, const std::optional<Data>& value);
  Expected<void> countChange(const Key& key);
  Expected<Key> foundOrAdded(std::string_view key);

  template <typename Result>
  Result kept(Expected<Result> result);
  void keepErrorOf(const Expected<void>& result, std::string_view key);

  KeyValueTables& tables_;
  std::optional<NSError> error_;
  std::set<std::int64_t> counted_;
};

}  // namespace orvane
