#pragma once

#include <optional>

#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Platform.h"

namespace orvane {

/// One process of the product: what the product calls shared or static belongs to it, so a test can
/// have as many processes as it likes. Each part is made at its first use. Main thread.
class Process {
 public:
  /// `platform` and its services outlive the process.
  explicit Process(Platform& platform) : platform_(platform) {}

  PersistentStore& store() {
    if (!store_) store_.emplace(platform_);
    return *store_;
  }

 private:
  Platform& platform_;
  std::optional<PersistentStore> store_;
};

}  // namespace orvane
