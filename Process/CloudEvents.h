#pragma once

#include <functional>
#include <memory>

#include "BlockerKit/SyncManager/SyncManager.h"
#include "Platform/Platform.h"

namespace orvane {

/// Passes on what the cloud tells, as long as this lives: silent pushes to the sync manager,
/// changes of the account to whoever observes `CKAccountChanged`, and changes of the user's
/// key-value store. Main queue.
class CloudEvents {
 public:
  /// All arguments outlive this. `keyValuesChanged` is called on the main queue.
  CloudEvents(Platform& platform, SyncManager& syncManager, std::function<void()> keyValuesChanged);
  CloudEvents(const CloudEvents&) = delete;
  CloudEvents& operator=(const CloudEvents&) = delete;
  ~CloudEvents();

 private:
  void tell(const CloudEvent& event);

  Platform& platform_;
  SyncManager& syncManager_;
  std::function<void()> keyValuesChanged_;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
