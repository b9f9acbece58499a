#pragma once

#include <memory>
#include <optional>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/Catalogue/PerSiteRules.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "BlockerKit/SyncManager/SyncManager.h"
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
  struct Options {
    /// Told of the reloads that this process makes; may be empty.
    ReloadObserver reloadObserver = nullptr;
    /// What a save asks for the list; `Safari::reload` if it is empty.
    ReloadRequest reload = nullptr;
    SyncManager::Cloud cloud = SyncManager::Cloud::none;
    SyncObserver syncObserver = nullptr;
  };

  /// `platform` and its services outlive the process.
  explicit Process(Platform& platform) : Process(platform, Options()) {}
  Process(Platform& platform, Options options);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  /// Waits for what the queues of the process are doing.
  ~Process();

  PersistentStore& store();
  /// The user defaults that the programs of the product share.
  NSUserDefaults& defaults();
  /// Where package files are read and written.
  Executor& writeQueue();
  /// Its saves end in a reload, and what the user edits is recorded for the user's other machines.
  DataManager& dataManager();
  SyncManager& syncManager();
  PerSiteRules& perSiteRules();
  Safari& safari();
  Communication& communication();

 private:
  void reload(BlockerPreferenceManager& preferences, bool allowsCancelling,
              SafariReloadingHandler handler);

  Platform& platform_;
  Options options_;
  // Whatever uses another part comes behind it, and is destroyed before it.
  std::optional<PersistentStore> store_;
  NSUserDefaults* defaults_ = nullptr;
  std::unique_ptr<Executor> writeQueue_;
  std::optional<DataManager> dataManager_;
  std::optional<SyncManager> syncManager_;
  std::optional<PerSiteRules> perSiteRules_;
  std::optional<Safari> safari_;
  std::optional<Communication> communication_;
};

}  // namespace orvane
