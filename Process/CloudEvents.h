#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "BlockerKit/SyncManager/SyncManager.h"
#include "Platform/Platform.h"

namespace orvane {

/// Passes on what the cloud tells, as long as this lives: silent pushes to the sync manager,
/// changes of the account to whoever observes `CKAccountChanged`, and changes of the user's
/// key-value store. Main queue.
///
/// Silent pushes wait while the sync manager pushes or fetches, and are one when it has: it is told
/// of what it saves itself, too, and each fetch ends in another push, which begins from the start.
/// What another machine sends in many requests is not fetched and saved as often.
class CloudEvents {
 public:
  /// How often a waiting one looks.
  static constexpr Executor::Duration patience = std::chrono::milliseconds(100);

  /// All arguments outlive this. `keyValuesChanged` is called on the main queue.
  CloudEvents(Platform& platform, SyncManager& syncManager, std::function<void()> keyValuesChanged);
  CloudEvents(const CloudEvents&) = delete;
  CloudEvents& operator=(const CloudEvents&) = delete;
  ~CloudEvents();

 private:
  void tell(const CloudEvent& event);
  void passOn(const CKNotification& notification);

  Platform& platform_;
  SyncManager& syncManager_;
  std::function<void()> keyValuesChanged_;
  bool isWaiting_ = false;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
