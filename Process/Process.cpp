#include "Process/Process.h"

#include <utility>

#include "BlockerKit/PersistentStore/SharedDefaults.h"

namespace orvane {

Process::Process(Platform& platform, ReloadObserver reloadObserver)
    : platform_(platform), reloadObserver_(std::move(reloadObserver)) {}

Process::~Process() {
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
          safari().reload(preferences, allowsCancelling, std::move(handler));
        },
        LocalChangeHooks{});
  }
  return *dataManager_;
}

PerSiteRules& Process::perSiteRules() {
  if (!perSiteRules_) perSiteRules_.emplace(platform_, dataManager());
  return *perSiteRules_;
}

Safari& Process::safari() {
  if (!safari_) {
    safari_.emplace(platform_, store(), defaults(), dataManager().published(), reloadObserver_);
  }
  return *safari_;
}

Communication& Process::communication() {
  if (!communication_) communication_.emplace(platform_, defaults());
  return *communication_;
}

}  // namespace orvane
