#include "Process/Process.h"

#include <utility>

#include "BlockerKit/PersistentStore/SharedDefaults.h"

namespace orvane {

Process::Process(Platform& platform, Options options)
    : platform_(platform), options_(std::move(options)) {}

Process::~Process() {
  syncManager_.reset();
  safari_.reset();
  // A refresh that is under way on the write queue uses the data manager.
  if (writeQueue_) writeQueue_->runAndWait([] {});
}

PersistentStore& Process::store() {
  if (!store_) store_.emplace(platform_);
  return *store_;
}

NSUserDefaults& Process::defaults() {
  if (defaults_ == nullptr) defaults_ = &sharedUserDefaults(platform_);
  return *defaults_;
}

Executor& Process::writeQueue() {
  if (!writeQueue_) writeQueue_ = platform_.makeSerialQueue(DataManager::writeQueueLabel);
  return *writeQueue_;
}

DataManager& Process::dataManager() {
  if (!dataManager_) {
    dataManager_.emplace(
        platform_, store(), defaults(), writeQueue(),
        [this](BlockerPreferenceManager& preferences, bool allowsCancelling,
               SafariReloadingHandler handler) {
          reload(preferences, allowsCancelling, std::move(handler));
        },
        LocalChangeHooks{
            .ruleAdded = [this](const Rule& rule,
                                const Package& package) { syncManager().ruleAdded(rule, package); },
            .ruleDeleted =
                [this](const Rule& rule, const Package& package) {
                  syncManager().ruleDeleted(rule, package);
                },
        });
  }
  return *dataManager_;
}

SyncManager& Process::syncManager() {
  if (!syncManager_) {
    syncManager_.emplace(
        platform_, defaults(), dataManager(), options_.cloud,
        [this] { reload(dataManager().preferenceManager(), /*allowsCancelling=*/true, nullptr); },
        options_.syncObserver);
  }
  return *syncManager_;
}

void Process::reload(BlockerPreferenceManager& preferences, bool allowsCancelling,
                     SafariReloadingHandler handler) {
  if (options_.reload) {
    options_.reload(preferences, allowsCancelling, std::move(handler));
  } else {
    safari().reload(preferences, allowsCancelling, std::move(handler));
  }
}

PerSiteRules& Process::perSiteRules() {
  if (!perSiteRules_) perSiteRules_.emplace(platform_, dataManager());
  return *perSiteRules_;
}

Safari& Process::safari() {
  if (!safari_) {
    safari_.emplace(platform_, store(), defaults(), dataManager().published(),
                    options_.reloadObserver);
  }
  return *safari_;
}

Communication& Process::communication() {
  if (!communication_) communication_.emplace(platform_, defaults());
  return *communication_;
}

}  // namespace orvane
