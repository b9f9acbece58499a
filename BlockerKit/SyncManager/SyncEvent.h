#pragma once

#include <functional>
#include <string>
#include <variant>

#include "Platform/Foundation/Executor.h"

namespace orvane {

// What happens in a sync, for whoever shows how it is going.

/// The cloud has said what the user's account is like, in a few words.
struct SyncAccountEvent {
  std::string status;
};
/// Changes of this machine have reached the cloud.
struct SyncPushEvent {};
/// Those of the other machines have come, all of them.
struct SyncFetchEvent {};
/// Something could not be done. The changes are kept.
struct SyncFailureEvent {
  /// A sentence for a person.
  std::string description;
};
/// A push has failed, and will be tried again.
struct SyncRetryEvent {
  Executor::Duration delay;
};

using SyncEvent =
    std::variant<SyncAccountEvent, SyncPushEvent, SyncFetchEvent, SyncFailureEvent, SyncRetryEvent>;

/// Called on the sync queue. May be empty.
using SyncObserver = std::function<void(const SyncEvent&)>;

}  // namespace orvane
