#pragma once

#include "Platform/Foundation/KeyValueStore.h"
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
};

}  // namespace orvane
