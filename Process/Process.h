#pragma once

#include <memory>
#include <optional>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Catalogue/PerSiteRules.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Platform.h"
#include "SafariExtension/Reload/Communication.h"
#include "SafariExtension/Reload/Safari.h"

namespace orvane {

/// One process of the product: what the product calls shared or static belongs to it, so a test can
/// have as many processes as it likes. Each part is made at its first use, and lives as long as the
/// process. Main queue.
class Process {
 public:
  /// `platform` and its services outlive the process. `reloadObserver` is told of the reloads that
  /// this process makes.
  explicit Process(Platform& platform, ReloadObserver reloadObserver = nullptr);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  /// Waits for what the queues of the process are doing.
  ~Process();

  PersistentStore& store();
  /// The user defaults that the programs of the product share.
  NSUserDefaults& defaults();
  /// Where package files are read and written.
  Executor& writeQueue();
  /// Its saves end in a reload.
  DataManager& dataManager();
  PerSiteRules& perSiteRules();
  Safari& safari();
  Communication& communication();

 private:
  Platform& platform_;
  ReloadObserver reloadObserver_;
  // Whatever uses another part comes behind it, and is destroyed before it.
  std::optional<PersistentStore> store_;
  NSUserDefaults* defaults_ = nullptr;
  std::unique_ptr<Executor> writeQueue_;
  std::optional<DataManager> dataManager_;
  std::optional<PerSiteRules> perSiteRules_;
  std::optional<Safari> safari_;
  std::optional<Communication> communication_;
};

}  // namespace orvane
