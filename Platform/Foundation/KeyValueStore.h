#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "Platform/Foundation/KeyValueDatabase.h"
#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// Keys and values that processes share: what user defaults and the cloud key-value store have in
/// common. Any thread. What cannot be read reads as absent, and the system log says why.
class KeyValueStore {
 public:
  using Value = std::optional<PropertyListValue>;

  /// Both outlive the store.
  KeyValueStore(KeyValueDatabase& database, LineOutput& systemLog);
  KeyValueStore(const KeyValueStore&) = delete;
  KeyValueStore& operator=(const KeyValueStore&) = delete;

  Value object(std::string_view key);
  /// For whoever must not take what cannot be read for absent.
  Expected<Value> read(std::string_view key);
  /// False when the key is absent or holds something else.
  bool boolForKey(std::string_view key);

  /// The writers commit before they return; other processes then see the change, and it survives
  /// the death of this one. After an error, which also goes to the system log, nothing has changed.
  Expected<void> setObject(const PropertyListValue& value, std::string_view key);
  Expected<void> removeObject(std::string_view key);

  /// Replaces the value by what `edit` makes of it, without a change of another process in between.
  /// Nothing stands for an absent key. `edit` must not use the store.
  Expected<void> change(std::string_view key, const std::function<Value(Value)>& edit);

  /// One entry of the dictionary under `key`; costs the same however many there are.
  Value entry(std::string_view key, std::string_view name);
  Expected<void> setEntry(std::string_view key, std::string_view name, const Value& value);
  /// Like `change`, for one entry.
  Expected<void> changeEntry(std::string_view key, std::string_view name,
                             const std::function<Value(Value)>& edit);

  /// Several changes at once, of whatever keys: all of them or, after an error, none. No change of
  /// another process comes in between. `body` must not use the store.
  Expected<void> transact(const std::function<void(KeyValueDatabase::Transaction&)>& body);

  /// What was written survives a power loss from now on; false when it may not.
  bool synchronize();

 protected:
  ~KeyValueStore() = default;

  KeyValueDatabase& database_;
  LineOutput& systemLog_;
};

}  // namespace orvane
