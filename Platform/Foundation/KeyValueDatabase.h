#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Foundation/KeyValueEntries.h"
#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// One process's connection to keys and values that processes share. Every operation blocks for as
/// long as another process is in a transaction, and may be called on any thread. What was committed
/// survives the death of every process.
class KeyValueDatabase {
 public:
  /// What may be done while no other process changes anything. A dictionary is kept by entry, so
  /// that reading or writing one entry does not touch the others.
  class Transaction {
   public:
    Transaction() = default;
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    virtual ~Transaction() = default;

    /// The keys that have a value.
    virtual std::vector<std::string> keys() = 0;

    virtual std::optional<PropertyListValue> value(std::string_view key) = 0;
    /// Nothing removes the key. Setting what is there already is no change.
    virtual void setValue(std::string_view key, const std::optional<PropertyListValue>& value) = 0;

    /// Those of the dictionary under `key`; none without one.
    virtual std::shared_ptr<const KeyValueEntries> entries(std::string_view key) = 0;

    /// An entry of the dictionary under `key`.
    virtual std::optional<PropertyListValue> entry(std::string_view key, std::string_view name) = 0;
    /// Nothing removes the entry. A key without a dictionary gets one when an entry is set; any
    /// other value is replaced.
    virtual void setEntry(std::string_view key, std::string_view name,
                          const std::optional<PropertyListValue>& value) = 0;
  };

  /// How often the value under a key has changed, as one file of the database tells. Another file
  /// that has taken the place of the one before has counts of its own.
  struct ChangeCount {
    /// Another number for every file that this connection meets.
    std::uint64_t file = 0;
    std::uint64_t count = 0;

    friend bool operator==(const ChangeCount&, const ChangeCount&) = default;
  };

  KeyValueDatabase() = default;
  KeyValueDatabase(const KeyValueDatabase&) = delete;
  KeyValueDatabase& operator=(const KeyValueDatabase&) = delete;
  virtual ~KeyValueDatabase() = default;

  virtual Expected<std::optional<PropertyListValue>> value(std::string_view key) = 0;
  virtual Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                           std::string_view name) = 0;

  /// Runs `body` and commits what it did, all of it or, after an error, nothing. `body` must not
  /// use the database otherwise.
  virtual Expected<void> transact(const std::function<void(Transaction&)>& body) = 0;

  /// What has been committed survives a power loss from now on.
  virtual Expected<void> synchronize() = 0;

  /// How often the key's value has changed: a transaction that changes it counts once.
  virtual Expected<ChangeCount> changeCount(std::string_view key) = 0;

  /// A number that is another one when another process has committed a change since the last
  /// question; what this process commits does not alter it.
  virtual Expected<std::uint64_t> foreignVersion() = 0;

  /// From now on `changed` is called on the main queue after every commit of any process, this one
  /// included; several may be told at once. An empty function ends it. Main queue.
  virtual void setListener(std::function<void()> changed) = 0;
};

}  // namespace orvane
