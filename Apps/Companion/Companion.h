#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/SyncStatus.h"
#include "Process/Process.h"

namespace orvane {

/// The companion application at work: keeps the browser's list as the packages, the preferences and
/// "paused" say, answers the extension once the browser has the list, and keeps the user's packages
/// the same on all machines. Main queue.
///
/// What it did last stands in the shared defaults under `statusKey`: a dictionary of "attempt" (a
/// text that is another one each time), "error" (what went wrong, empty if nothing did) and "rules"
/// (how many the list has).
class Companion {
 public:
  static constexpr const char* statusKey = companionStatusKey;
  /// The signals that the last answer was to, so that one sent while no companion runs is known.
  static constexpr const char* answeredKey = "AnsweredSignals";

  /// What failed is tried again after this time, and then after twice as long each time, up to the
  /// longest.
  static constexpr Executor::Duration firstDelay = std::chrono::seconds(5);
  static constexpr Executor::Duration longestDelay = std::chrono::hours(1);

  /// `platform` outlives the companion.
  explicit Companion(Platform& platform);

  /// Observes first and then reads and rebuilds, so that no signal is lost; a signal that came
  /// while no companion was there is answered too.
  void start();

  /// For whoever passes on what the cloud tells.
  SyncManager& syncManager() { return process_.syncManager(); }

  /// To be called when a package file may have changed: rebuilds if one has.
  void packageFilesChanged();

  /// To be called when the browser's settings may have changed: rebuilds if a list could not be
  /// built because of them, and now can.
  void browserSettingsChanged();

 private:
  void observe(std::string_view key, std::function<void()> changed);
  void observePreferences();
  void signalled();
  void read(bool rebuildsAnyway);
  void readingEnded(DataManager::RefreshResult result);
  void rebuild();
  void rebuildForSave(SafariReloadingHandler handler);
  void sync();
  void syncPackages();
  void browserAnswered(std::uint64_t list, std::uint64_t signals, const PropertyListValue& values);
  std::shared_ptr<void> endOfReload();
  void tryAgainLater();
  PropertyListValue currentSignals();
  void reloaded(const ReloadReport& report);
  void contentBlockerDisabled();
  void publishStatus(const std::string& error, std::size_t rules);

  Platform& platform_;
  SyncStatusRecorder syncStatus_;
  Process process_;
  std::vector<std::unique_ptr<NSUserDefaults::Observation>> defaultsObservations_;
  std::vector<NSNotificationCenter::Observation> observations_;
  /// How many signals have come, and up to which they have been answered.
  std::uint64_t signals_ = 0;
  std::uint64_t answered_ = 0;
  /// How many lists have been asked for, and which of them the browser has.
  std::uint64_t listsWanted_ = 0;
  std::uint64_t listsGot_ = 0;
  /// The values of the signals when the last one came.
  PropertyListValue announced_ = PropertyListValue::Dictionary();
  bool isReading_ = false;
  bool readsAgain_ = false;
  bool rebuildsAnyway_ = false;
  /// Whether the catalogue is as the files were at the last reading.
  bool isCatalogueComplete_ = false;
  /// Whether the packages have been handed over to the sync.
  bool isSyncing_ = false;
  /// Of saves that the next list is for.
  std::vector<SafariReloadingHandler> saveHandlers_;
  bool isReloading_ = false;
  bool reloadsAgain_ = false;
  /// What the running reload has come to.
  bool isReported_ = false;
  bool isListWritten_ = false;
  bool isTryingAgain_ = false;
  Executor::Duration delay_ = firstDelay;
  /// Whoever is called back later asks whether the companion is still there.
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
