#include "Apps/Companion/RebuildCommand.h"

#include <chrono>
#include <optional>
#include <utility>

#include <fmt/format.h>
#include <glib.h>
#include <tl/expected.hpp>

#include "Apps/Companion/ChangeCommand.h"
#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/Failure.h"
#include "Apps/Companion/Progress.h"
#include "Apps/Companion/ReloadError.h"
#include "BlockerKit/Support/Stopwatch.h"
#include "Linux/Posix/SingleInstance.h"
#include "Process/Process.h"

namespace orvane {
namespace {

/// The browser may be given up sooner, and then says so itself.
constexpr std::chrono::minutes longestReload{10};

/// Runs the main loop until `value` is there.
template <typename Value>
Value waitFor(const std::optional<Value>& value) {
  while (!value) g_main_context_iteration(nullptr, TRUE);
  return *value;
}

DataManager::RefreshResult readPackages(Process& process) {
  std::optional<DataManager::RefreshResult> result;
  process.dataManager().refresh([&](auto ended) { result = ended; });
  return waitFor(result);
}

/// Why a list would not be built or would not be enforced; empty when it is.
std::string obstacle(Platform& platform) {
  std::optional<std::string> answer;
  platform.contentBlockerManager.getStateOfContentBlocker(
      Safari::contentBlockerIdentifier,
      [&](std::optional<SFContentBlockerState> state, const std::optional<NSError>& error) {
        if (!state) {
          answer = unreadableBrowserSettings(*error);
        } else {
          answer = state->isEnabled ? "" : contentBlockerDisabledMessage;
        }
      });
  return waitFor(answer);
}

/// What the reload did; its own report when the browser was never asked.
ReloadReport reload(Process& process, Platform& platform, std::optional<ReloadReport>& report) {
  const auto giveUp = [&](NSError error) {
    if (!report) report = ReloadReport{.isWritten = true, .result = {std::move(error)}};
  };
  process.safari().reload(process.dataManager().preferenceManager(), /*allowsCancelling=*/false,
                          [&](const SafariReloadingResult& result) {
                            if (const auto* failure = result.failure()) giveUp(*failure);
                          });
  platform.mainQueue.postAfter(longestReload, [giveUp] {
    giveUp({Safari::errorDomain, 0, "The browser does not answer."});
  });
  return waitFor(report);
}

/// A damaged file is no obstacle, but its rules are missing from the list.
void warnOfDamagedFiles(PersistentStore& store) {
  for (const auto& path : store.damagedUserFiles()) {
    fmt::print(stderr,
               "orvane: '{}' cannot be read in full, and what cannot be read has no effect; "
               "orvane check says what is wrong.\n",
               path.string());
  }
}

struct Rebuilt {
  bool isPaused;
  std::size_t rules;
  std::size_t packages;
};

/// Does all of it but the talking; the error is a text for the user.
tl::expected<Rebuilt, std::string> rebuild(LinuxPlatform& machine, const Progress& progress) {
  auto& platform = machine.platform();
  std::optional<ReloadReport> report;
  Process process(platform,
                  {.reloadObserver = [&](const ReloadReport& reported) { report = reported; }});
  progress.show("Reading the packages");
  if (readPackages(process) == DataManager::RefreshResult::failed) {
    return tl::unexpected<std::string>("The folder with the packages is missing.");
  }
  auto& dataManager = process.dataManager();
  if (dataManager.preinstalledPackages().empty()) {
    return tl::unexpected<std::string>(noPreinstalledPackagesMessage);
  }
  if (auto reason = obstacle(platform); !reason.empty()) return tl::unexpected(std::move(reason));

  progress.show("Building the list and compiling it for the browser");
  const auto reported = reload(process, platform, report);
  warnOfDamagedFiles(process.store());
  auto error = reloadError(reported, dataManager);
  // What the companion has said of an earlier attempt is over.
  publishCompanionStatus(platform, process.defaults(), error, reported.blockerCount);
  if (!error.empty()) return tl::unexpected(std::move(error));
  return Rebuilt{reported.isPaused, reported.blockerCount, dataManager.packages().size()};
}

/// Leaves the rebuild to the companion that runs.
int handOver(LinuxPlatform& machine) {
  ChangeCommand command(machine, {.waits = true});
  if (!command.canStore()) return 1;
  return command.conclude({.change = ChangeAnswer::Change::packageFiles});
}

}  // namespace

int runRebuildCommand(LinuxPlatform& machine) {
  // Without them the list would be another one than the user has asked for.
  if (!opensSharedSettings(machine.platform())) return 1;
  auto instance = SingleInstance::acquire(machine.companionLock(), SingleInstance::Role::passing);
  if (!instance) {
    complain(instance.error().localizedDescription);
    return 1;
  }
  if (!*instance) return handOver(machine);
  Stopwatch stopwatch;
  stopwatch.start();
  const Progress progress;
  const auto rebuilt = rebuild(machine, progress);
  stopwatch.stop();
  progress.clear();
  if (!rebuilt) {
    complain(rebuilt.error());
    return 1;
  }
  if (rebuilt->isPaused) {
    fmt::print("Blocking is paused: the browser has a list that blocks nothing.\n");
  } else {
    fmt::print("The browser has the new list: {} rules from {} packages ({:.1f} s).\n",
               rebuilt->rules, rebuilt->packages, stopwatch.elapsed());
  }
  return 0;
}

}  // namespace orvane
