#pragma once

#include <memory>

#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane {

/// A connection to keys and values in memory: those of a process that keeps nothing on disk, or,
/// with a connection for each of its processes, those of a simulated machine. Unlike a database on
/// disk it takes any text, and nothing fails.
class InMemoryKeyValueDatabase final : public KeyValueDatabase {
 public:
  /// The keys and values themselves, which live as long as a connection to them. Any thread.
  class Storage;
  static std::shared_ptr<Storage> makeStorage();

  /// `mainQueue`, on which the listener is called, outlives the connection.
  InMemoryKeyValueDatabase(std::shared_ptr<Storage> storage, Executor& mainQueue);
  ~InMemoryKeyValueDatabase() override;

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override;
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override;
  /// An exception of `body` passes through, and what it did until then stays.
  Expected<void> transact(const std::function<void(Transaction&)>& body) override;
  Expected<void> synchronize() override;
  Expected<ChangeCount> changeCount(std::string_view key) override;
  Expected<std::uint64_t> foreignVersion() override;
  void setListener(std::function<void()> changed) override;

 private:
  struct Listener;
  class Edits;

  void tellLocked();

  std::shared_ptr<Storage> storage_;
  Executor& mainQueue_;
  // Guarded by the storage's mutex.
  std::uint64_t foreignVersion_ = 0;
  std::shared_ptr<Listener> listener_;
};

}  // namespace orvane
