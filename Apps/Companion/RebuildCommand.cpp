#include "Apps/Companion/RebuildCommand.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <glib.h>
#include <tl/expected.hpp>
#include <unistd.h>

#include "Apps/Companion/RefusedRules.h"
#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "BlockerKit/PersistentStore/SetAside.h"
#include "BlockerKit/Support/Stopwatch.h"
#include "Linux/Posix/ProgramFolder.h"
#include "Linux/WebKitGTK/ContentBlockerManager.h"
#include "Process/Process.h"

namespace orvane {
namespace {

constexpr const char* contentBlockerIdentifier = "com.tessaly.BlockerMac.BlockerMacExtension";

/// What is going on, for somebody who waits at a terminal.
class Progress {
 public:
  Progress() = default;
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void show(std::string_view step) const {
    if (isTerminal_) fmt::print(stderr, "\r\033[K{}…", step);
  }
  void clear() const {
    if (isTerminal_) fmt::print(stderr, "\r\033[K");
  }

 private:
  bool isTerminal_ = ::isatty(STDERR_FILENO) == 1;
};

ContentBlockerManager makeBrowser(const LinuxPlatform& machine, PersistentStore& store) {
  const auto list = store.pathToSafariJSON();
  const auto config = machine.directories().config;
  const auto settings = config ? *config / "orvane" / "browser.ini" : std::filesystem::path();
  return {BrowserSettings(settings),
          {.helper = programFolder() / "orvane-compile",
           .blockerList = list,
           .compiledLists = list.parent_path() / "CompiledLists"}};
}

/// Asks the browser and waits for its answer.
std::optional<NSError> reload(SFContentBlockerManager& browser) {
  bool answered = false;
  std::optional<NSError> failure;
  browser.reloadContentBlocker(contentBlockerIdentifier, [&](std::optional<NSError> error) {
    failure = std::move(error);
    answered = true;
  });
  while (!answered) g_main_context_iteration(nullptr, TRUE);
  return failure;
}

/// Why the list that the browser has may not be what it enforces; empty when it is.
std::string reservation(SFContentBlockerManager& browser) {
  std::optional<std::string> answer;
  browser.getStateOfContentBlocker(
      contentBlockerIdentifier,
      [&](std::optional<SFContentBlockerState> state, const std::optional<NSError>& error) {
        if (!state) {
          answer = "The browser's settings cannot be read: " + error->localizedDescription;
        } else {
          answer = state->isEnabled
                       ? ""
                       : "The content blocker is switched off in the browser's settings.";
        }
      });
  while (!answer) g_main_context_iteration(nullptr, TRUE);
  return *answer;
}

bool hasPreinstalledPackage(const std::vector<Package>& catalogue) {
  return std::any_of(catalogue.begin(), catalogue.end(), [](const Package& package) {
    return package.type() != PackageType::CustomPackages && !package.rules.empty();
  });
}

/// The whole catalogue. Pre-installed packages that cannot be read in full come from the bundle
/// again, if it has them.
std::vector<Package> readCatalogue(LinuxPlatform& machine, PersistentStore& store) {
  auto& platform = machine.platform();
  auto catalogue = store.readAllPackages();
  const auto bundled = platform.mainBundle.pathForResource("PreinstalledPackages", "json");
  if (!bundled) return catalogue;
  const auto shared = store.pathToSafariJSON().parent_path() / bundled->filename();
  const auto form = PackageFileForm::packageList;
  if (!isDamaged(platform, shared, form) || isDamaged(platform, *bundled, form)) return catalogue;
  store.copyPreinstalledPackagesFromBundleToSharedContainer();
  return store.readAllPackages();
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

std::string refusal(PersistentStore& store, const NSError& failure) {
  std::string reason = "The browser did not take the list: " + failure.localizedDescription + "\n";
  for (const auto& line : refusedRules(store.readAllPackages())) reason += line + "\n";
  return reason + "The last good list, if there was one, stays in force.";
}

struct Rebuilt {
  std::size_t rules;
  std::size_t packages;
};

/// Does all of it but the talking; the error is a text for the user.
tl::expected<Rebuilt, std::string> rebuild(LinuxPlatform& machine, PersistentStore& store,
                                           SFContentBlockerManager& browser,
                                           const Progress& progress) {
  progress.show("Reading the packages");
  store.settleIdentifiers();
  auto catalogue = readCatalogue(machine, store);
  if (!hasPreinstalledPackage(catalogue)) {
    return tl::unexpected<std::string>(
        "The pre-installed packages cannot be found; the blocker list stays as it is.");
  }
  const auto packageCount = catalogue.size();
  const auto blockers = enabledBlockers(std::move(catalogue), {}, {});
  if (blockers.size() > mostBlockersInList) {
    return tl::unexpected(fmt::format("There are {} rules, and the browser takes {} at the most.",
                                      blockers.size(), mostBlockersInList));
  }

  progress.show("Writing the blocker list");
  if (!store.writeBlockersToSafariJSONFile(blockers)) {
    return tl::unexpected(
        fmt::format("The blocker list '{}' cannot be written.", store.pathToSafariJSON().string()));
  }

  progress.show("Compiling it for the browser");
  if (const auto failure = reload(browser)) return tl::unexpected(refusal(store, *failure));
  return Rebuilt{blockers.size(), packageCount};
}

}  // namespace

int runRebuildCommand(LinuxPlatform& machine) {
  Process process(machine.platform());
  auto browser = makeBrowser(machine, process.store());
  const Progress progress;
  Stopwatch stopwatch;
  stopwatch.start();
  const auto rebuilt = rebuild(machine, process.store(), browser, progress);
  stopwatch.stop();
  progress.clear();
  warnOfDamagedFiles(process.store());
  if (!rebuilt) {
    fmt::print(stderr, "orvane: {}\n", rebuilt.error());
    return 1;
  }
  fmt::print("The browser has the new list: {} rules from {} packages ({:.1f} s).\n",
             rebuilt->rules, rebuilt->packages, stopwatch.elapsed());
  if (const auto notice = reservation(browser); !notice.empty()) fmt::print("{}\n", notice);
  return 0;
}

}  // namespace orvane
