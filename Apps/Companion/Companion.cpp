#include "Apps/Companion/Companion.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/ReloadError.h"
#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "BlockerKit/Support/DisplayInformation.h"

namespace orvane {

Companion::Companion(Platform& platform)
    : platform_(platform),
      syncStatus_(sharedUserDefaults(platform)),
      process_(
          platform,
          {.reloadObserver = [this](const ReloadReport& report) { reloaded(report); },
           .reload = [this](BlockerPreferenceManager&, bool,
                            SafariReloadingHandler handler) { rebuildForSave(std::move(handler)); },
           .cloud = SyncManager::Cloud::container,
           .syncObserver = [this](const SyncEvent& event) { syncStatus_.note(event); }}) {}

void Companion::start() {
  observe(rawValue(Communication::Message::reloadRulesFromDisk), [this] {
    signalled();
    read(/*rebuildsAnyway=*/true);
    // Whoever has changed the packages has recorded the change before.
    if (isSyncing_) process_.syncManager().pushAllLocalUpdates(1);
  });
  observe(syncRequestKey, [this] { sync(); });
  observe(Communication::pausedKey, [this] {
    signalled();
    rebuild();
  });
  observePreferences();
  observations_.push_back(platform_.notificationCenter.addObserver(
      Safari::disabledNotification, [this](const NSNotification&) { contentBlockerDisabled(); }));
  announced_ = process_.defaults().object(answeredKey).value_or(PropertyListValue::Dictionary());
  signalled();
  read(/*rebuildsAnyway=*/true);
}

void Companion::observe(std::string_view key, std::function<void()> changed) {
  defaultsObservations_.push_back(process_.defaults().addObserver(key, std::move(changed)));
}

void Companion::observePreferences() {
  observe(BlockerPreferenceManager::disabledPackagesKey, [this] { rebuild(); });
  observe(BlockerPreferenceManager::disabledRulesKey, [this] { rebuild(); });
  // The sync manager asks for a rebuild after a change of the cloud key-value store.
  platform_.ubiquitousStore.startNotifying();
}

/// A database that has come back tells of a change once more though nobody has sent anything.
void Companion::signalled() {
  auto values = currentSignals();
  if (values == announced_) return;
  ++signals_;
  announced_ = std::move(values);
}

void Companion::packageFilesChanged() { read(/*rebuildsAnyway=*/false); }

void Companion::browserSettingsChanged() {
  if (listsGot_ == listsWanted_) return;
  platform_.contentBlockerManager.getStateOfContentBlocker(
      Safari::contentBlockerIdentifier,
      [this, lifetime = std::weak_ptr(lifetime_)](std::optional<SFContentBlockerState> state,
                                                  const std::optional<NSError>&) {
        if (lifetime.expired() || !state || !state->isEnabled) return;
        if (listsGot_ != listsWanted_) rebuild();
      });
}

/// Signals that come during a reading ask for one more, however many they are.
void Companion::read(bool rebuildsAnyway) {
  rebuildsAnyway_ |= rebuildsAnyway;
  if (isReading_) {
    readsAgain_ = true;
    return;
  }
  isReading_ = true;
  process_.dataManager().refresh(
      [this](DataManager::RefreshResult result) { readingEnded(result); });
}

void Companion::readingEnded(DataManager::RefreshResult result) {
  isReading_ = false;
  if (std::exchange(readsAgain_, false)) {
    read(result == DataManager::RefreshResult::changed);
    return;
  }
  isCatalogueComplete_ = result != DataManager::RefreshResult::failed &&
                         result != DataManager::RefreshResult::incomplete;
  if (!isCatalogueComplete_) tryAgainLater();
  if (result == DataManager::RefreshResult::failed) {
    publishStatus("The folder with the packages is missing.", 0);
    return;
  }
  if (isCatalogueComplete_ && !isSyncing_) sync();
  const bool rebuildsAnyway = std::exchange(rebuildsAnyway_, false);
  if (process_.dataManager().preinstalledPackages().empty()) {
    publishStatus(noPreinstalledPackagesMessage, 0);
  }
  if (rebuildsAnyway || result == DataManager::RefreshResult::changed) rebuild();
}

/// The first time everything is put into the queue, in the place of what is there. What another
/// process saves after this one has read the packages must not be missing then.
void Companion::sync() {
  if (!isCatalogueComplete_) return;
  if (process_.defaults().boolForKey(LocalChangesQueue::existingDataMarkedAsAddedKey)) {
    return syncPackages();
  }
  const auto lock = process_.store().lockPackageFiles();
  if (!lock) return tryAgainLater();
  if (!process_.dataManager().isUpToDate()) return read(/*rebuildsAnyway=*/false);
  syncPackages();
}

/// The pre-installed packages are on every machine already.
void Companion::syncPackages() {
  isSyncing_ = true;
  auto& dataManager = process_.dataManager();
  auto packages = dataManager.configurablePackages();
  std::ranges::copy(dataManager.customPackages(), std::back_inserter(packages));
  process_.syncManager().update(packages);
}

void Companion::rebuildForSave(SafariReloadingHandler handler) {
  if (handler) saveHandlers_.push_back(std::move(handler));
  rebuild();
}

/// Only signals ask for an answer, and only a list that the browser has is one: a rebuild for
/// another reason must not reload the page that the user reads. During a reading the list would not
/// yet have what the signals announced, so the rebuild waits for its end. During a reload the
/// browser's compiler is busy, and would come to none of the lists but the last.
void Companion::rebuild() {
  if (isReading_) {
    rebuildsAnyway_ = true;
    return;
  }
  ++listsWanted_;
  if (isReloading_) {
    reloadsAgain_ = true;
    return;
  }
  isReloading_ = true;
  isReported_ = false;
  auto& preferences = process_.dataManager().preferenceManager();
  const auto handler = [this, list = listsWanted_, signals = signals_, values = announced_,
                        saveHandlers = std::exchange(saveHandlers_, {}),
                        end = endOfReload()](const SafariReloadingResult& result) {
    for (const auto& saved : saveHandlers) saved(result);
    if (result.isSuccess() && isListWritten_) browserAnswered(list, signals, values);
  };
  process_.safari().reload(preferences, /*allowsCancelling=*/true, handler);
}

void Companion::browserAnswered(std::uint64_t list, std::uint64_t signals,
                                const PropertyListValue& values) {
  if (!isCatalogueComplete_) return;
  listsGot_ = list;
  delay_ = firstDelay;
  if (std::exchange(answered_, signals) == signals) return;
  // A signal that was found at the start may be told once more.
  if (process_.defaults().object(answeredKey) == values) return;
  static_cast<void>(process_.defaults().setObject(values, answeredKey));
  process_.communication().send(Communication::Message::reloadTab);
}

/// A reload is over when nobody has its handler any more: it need not have been called.
std::shared_ptr<void> Companion::endOfReload() {
  const auto ended = [this, lifetime = std::weak_ptr(lifetime_)](void*) {
    if (lifetime.expired()) return;
    isReloading_ = false;
    if (!isReported_ && !process_.dataManager().preinstalledPackages().empty()) {
      publishStatus("The browser does not say whether the content blocker is switched on.", 0);
    }
    if (std::exchange(reloadsAgain_, false)) rebuild();
  };
  return {static_cast<void*>(this), ended};
}

/// A full disk, a missing folder or a lack of memory passes without a word to anybody.
void Companion::tryAgainLater() {
  rebuildsAnyway_ = true;
  if (std::exchange(isTryingAgain_, true)) return;
  platform_.mainQueue.postAfter(delay_, [this, lifetime = std::weak_ptr(lifetime_)] {
    if (lifetime.expired()) return;
    isTryingAgain_ = false;
    read(/*rebuildsAnyway=*/false);
  });
  delay_ = std::min(2 * delay_, longestDelay);
}

PropertyListValue Companion::currentSignals() {
  PropertyListValue::Dictionary signals;
  for (const auto key : {rawValue(Communication::Message::reloadRulesFromDisk),
                         std::string_view(Communication::pausedKey)}) {
    if (auto value = process_.defaults().object(key)) signals.emplace(key, std::move(*value));
  }
  return signals;
}

void Companion::contentBlockerDisabled() {
  isReported_ = true;
  publishStatus(contentBlockerDisabledMessage, 0);
  displayInformation(platform_.notificationCenter, contentBlockerDisabledMessage, /*warning=*/true);
}

void Companion::reloaded(const ReloadReport& report) {
  isReported_ = true;
  isListWritten_ = report.isWritten;
  const bool isDone = report.isWritten && report.result.isSuccess();
  if (!isDone) tryAgainLater();
  auto error = reloadError(report, process_.dataManager());
  if (error.empty() && !isCatalogueComplete_) {
    error = "A file with packages cannot be opened; the list is without what is new in it.";
  }
  publishStatus(error, report.blockerCount);
}

void Companion::publishStatus(const std::string& error, std::size_t rules) {
  publishCompanionStatus(platform_, process_.defaults(), error, rules);
}

}  // namespace orvane
