#include "Apps/Companion/BrowserWait.h"

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <glib.h>

#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/ExpectedList.h"
#include "Apps/Companion/Progress.h"
#include "Apps/Companion/ReloadError.h"
#include "Linux/GLib/FolderWatch.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"

namespace orvane {
namespace {

using Clock = std::chrono::steady_clock;

/// A companion that fails may be about to try again with what this command has changed.
constexpr std::chrono::seconds patienceWithFailure{2};

/// How often the state is looked at when nothing wakes the wait: the settings have no watch, and
/// time passes.
constexpr guint lookInterval = 200;

class BrowserWait {
 public:
  BrowserWait(LinuxPlatform& machine, Process& process, AwaitedList awaited)
      : machine_(machine),
        process_(process),
        awaited_(std::move(awaited)),
        compiledLists_(files_, machine.container() / "CompiledLists") {
    watchInputs();
    // A folder has to be there to be watched.
    static_cast<void>(compiledLists_.create());
    watch(compiledLists_.path(), {CompiledListDirectory::currentFileName}, [] {});
    observations_.push_back(process_.defaults().addObserver(companionStatusKey, [] {}));
    const auto wake = [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; };
    timer_ = g_timeout_add(lookInterval, wake, nullptr);
  }
  BrowserWait(const BrowserWait&) = delete;
  BrowserWait& operator=(const BrowserWait&) = delete;
  ~BrowserWait() { g_source_remove(timer_); }

  std::optional<std::string> run() {
    const Progress progress;
    const auto end = Clock::now() + awaited_.timeout;
    for (;;) {
      if (std::exchange(inputsChanged_, false)) readInputs();
      if (auto verdict = obstacle()) return verdict;
      if (browserHasList()) return std::nullopt;
      if (Clock::now() >= end) return timeIsUp();
      progress.show("Waiting for the browser to have the list");
      g_main_context_iteration(nullptr, TRUE);
    }
  }

 private:
  void watch(const std::filesystem::path& folder, std::vector<std::string> names,
             std::function<void()> changed) {
    watches_.emplace_back(folder, std::move(names), machine_.platform().mainQueue,
                          std::move(changed));
  }

  void watchInputs() {
    auto& platform = machine_.platform();
    const auto changed = [this] { inputsChanged_ = true; };
    std::vector<std::string> names;
    for (const auto& [type, name] : RawValues<PackageType>::table) names.emplace_back(name);
    watch(machine_.container(), names, changed);
    for (const auto& folder : platform.fileManager.documentDirectories()) {
      watch(folder, names, changed);
    }
    for (const auto* key : {Communication::pausedKey, BlockerPreferenceManager::disabledPackagesKey,
                            BlockerPreferenceManager::disabledRulesKey}) {
      observations_.push_back(process_.defaults().addObserver(key, changed));
    }
    ubiquitousChanges_ = platform.notificationCenter.addObserver(
        NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
        [changed](const NSNotification&) { changed(); });
    platform.ubiquitousStore.startNotifying();
  }

  void readInputs() { expected_ = expectedList(process_, process_.store().readAllPackages()).hash; }

  bool isLater(const CompanionStatus& status) const {
    return status.attempt != awaited_.earlierAttempt;
  }

  bool browserHasList() {
    const auto current = compiledLists_.current();
    if (!current || current->source != expected_) return false;
    return !awaited_.isOfLaterAttempt || isLater(companionStatus(process_.defaults()));
  }

  std::optional<std::string> obstacle() {
    const auto isEnabled = BrowserSettings(machine_.browserSettings())
                               .isContentBlockerEnabled(Safari::contentBlockerIdentifier);
    if (!isEnabled) return unreadableBrowserSettings(isEnabled.error());
    if (!*isEnabled) return contentBlockerDisabledMessage;
    return lastingFailure();
  }

  std::optional<std::string> lastingFailure() {
    const auto status = companionStatus(process_.defaults());
    if (status.error.empty() || !isLater(status)) {
      failingSince_.reset();
      return std::nullopt;
    }
    if (!failingSince_) failingSince_ = Clock::now();
    if (Clock::now() - *failingSince_ < patienceWithFailure) return std::nullopt;
    return browserHasList() ? std::nullopt : std::optional(status.error);
  }

  std::string timeIsUp() {
    auto text =
        fmt::format("The browser does not have the list after {} s.", awaited_.timeout.count());
    const auto status = companionStatus(process_.defaults());
    if (!status.error.empty()) text += "\n" + status.error;
    return text;
  }

  LinuxPlatform& machine_;
  Process& process_;
  AwaitedList awaited_;
  PosixFileSystem files_;
  CompiledListDirectory compiledLists_;
  bool inputsChanged_ = true;
  std::string expected_;
  std::optional<Clock::time_point> failingSince_;
  std::list<FolderWatch> watches_;
  std::vector<std::unique_ptr<NSUserDefaults::Observation>> observations_;
  NSNotificationCenter::Observation ubiquitousChanges_;
  guint timer_ = 0;
};

}  // namespace

std::optional<std::string> waitForBrowser(LinuxPlatform& machine, Process& process,
                                          const AwaitedList& awaited) {
  return BrowserWait(machine, process, awaited).run();
}

}  // namespace orvane
