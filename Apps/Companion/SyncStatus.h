#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "BlockerKit/SyncManager/SyncEvent.h"
#include "Platform/Foundation/NSUserDefaults.h"

namespace orvane {

/// Where the shared defaults say how syncing goes: a dictionary with the members of `SyncStatus`.
inline constexpr const char* syncStatusKey = "SyncStatus";

/// Whoever sets this key to another text asks the companion to sync now.
inline constexpr const char* syncRequestKey = "SyncRequest";

/// How syncing goes, by the companion. Times are in seconds since 1970; counts never go back.
struct SyncStatus {
  /// Of the user's account, in a few words; empty when the cloud has not been asked.
  std::string account;
  std::optional<std::int64_t> lastPush;
  std::optional<std::int64_t> lastFetch;
  /// Empty when nothing has failed since the last success.
  std::string lastError;
  std::optional<std::int64_t> nextRetry;
  /// How many fetches have ended well, and how many things have failed.
  std::int64_t fetches = 0;
  std::int64_t failures = 0;
};

SyncStatus syncStatus(NSUserDefaults& defaults);

/// Keeps the status up to date.
class SyncStatusRecorder {
 public:
  /// `defaults` outlive the recorder.
  explicit SyncStatusRecorder(NSUserDefaults& defaults) : defaults_(defaults) {}

  /// On the sync queue.
  void note(const SyncEvent& event);

 private:
  NSUserDefaults& defaults_;
};

}  // namespace orvane
