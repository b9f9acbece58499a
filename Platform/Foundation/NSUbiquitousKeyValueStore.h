#pragma once

#include <cstdint>
#include <optional>

#include "Platform/Foundation/KeyValueStore.h"
#include "Platform/Foundation/LookLog.h"
#include "Platform/Foundation/NSNotificationCenter.h"

namespace orvane {

/// Posted, on the main queue, when the key-value store was changed by another process.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr const char* NSUbiquitousKeyValueStoreDidChangeExternallyNotification =
    "NSUbiquitousKeyValueStoreDidChangeExternallyNotification";

/// Small values that follow the user to other machines. Any thread.
class NSUbiquitousKeyValueStore : public KeyValueStore {
 public:
  /// `database` has no other listener.
  NSUbiquitousKeyValueStore(KeyValueDatabase& database, LineOutput& systemLog,
                            NSNotificationCenter& notificationCenter);
  ~NSUbiquitousKeyValueStore();

  /// From now on changes by others are notified. Main queue.
  void startNotifying();

 private:
  void notifyOfForeignChange();
  std::optional<std::uint64_t> foreignVersion();

  NSNotificationCenter& notificationCenter_;
  LookLog looks_;
  bool isNotifying_ = false;
  /// As of the last look; unknown when the database could not be read then.
  std::optional<std::uint64_t> seen_;
};

}  // namespace orvane
