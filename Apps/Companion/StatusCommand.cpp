#include "Apps/Companion/StatusCommand.h"

#include <algorithm>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Apps/Companion/CompanionStatus.h"
#include "Apps/Companion/ExpectedList.h"
#include "Apps/Companion/JSONAnswer.h"
#include "Apps/Companion/Printable.h"
#include "Apps/Companion/ReloadError.h"
#include "Apps/Companion/TimeText.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "Linux/Posix/SingleInstance.h"
#include "Linux/WebKitGTK/CompiledListDirectory.h"
#include "Platform/Foundation/ContentHash.h"
#include "Process/Process.h"

namespace orvane {
namespace {

enum class State { blocking, paused, switchedOff };

struct Status {
  State state = State::blocking;
  std::size_t packages = 0;
  std::size_t disabledPackages = 0;
  std::size_t enabledBlockers = 0;
  std::optional<std::time_t> rebuilt;
  bool isCompanionRunning = false;
  std::vector<std::string> problems;
};

class StatusQuestion {
 public:
  explicit StatusQuestion(LinuxPlatform& machine)
      : machine_(machine), process_(machine.platform()) {}

  Status ask() {
    if (machine_.platform().userDefaultsSuite(PersistentStore::applicationGroup) == nullptr) {
      add("The settings that Orvane's programs share cannot be opened.");
    }
    readSettings();
    readPackages();
    readList();
    readCompanion();
    for (const auto& path : process_.store().damagedUserFiles()) {
      add(
          fmt::format("'{}' cannot be read in full, and what cannot be read has no effect; "
                      "'orvane check' says what is wrong.",
                      path.string()));
    }
    return std::move(status_);
  }

 private:
  void add(std::string problem) { status_.problems.push_back(std::move(problem)); }

  void readSettings() {
    if (process_.defaults().boolForKey(Communication::pausedKey)) status_.state = State::paused;
    const auto isEnabled = BrowserSettings(machine_.browserSettings())
                               .isContentBlockerEnabled(Safari::contentBlockerIdentifier);
    if (!isEnabled) {
      add(unreadableBrowserSettings(isEnabled.error()));
    } else if (!*isEnabled) {
      status_.state = State::switchedOff;
      add(contentBlockerDisabledMessage);
    }
  }

  void readPackages() {
    const auto packages = process_.store().readAllPackages();
    auto& preferences = process_.dataManager().preferenceManager();
    status_.packages = packages.size();
    const auto disabled = preferences.disabledPackageIDs();
    status_.disabledPackages = static_cast<std::size_t>(
        std::count_if(packages.begin(), packages.end(), [&](const Package& package) {
          return std::find(disabled.begin(), disabled.end(), package.id) != disabled.end();
        }));
    expected_ = expectedList(process_, packages);
    status_.enabledBlockers = expected_.enabledBlockers;
    if (status_.enabledBlockers > mostBlockersInList) {
      add(tooManyRules(status_.enabledBlockers));
    }
  }

  void readList() {
    auto& files = machine_.platform().fileManager;
    const auto path = process_.store().pathToSafariJSON();
    if (!files.fileExists(path)) return add("The blocker list has never been built.");
    const auto attributes = files.attributesOfItem(path);
    if (attributes && attributes->modificationDate) {
      status_.rebuilt = std::chrono::system_clock::to_time_t(
          std::chrono::time_point_cast<std::chrono::system_clock::duration>(
              *attributes->modificationDate));
    }
    const auto list = files.contents(path);
    if (!list) return add(list.error().localizedDescription);
    const auto hash = contentHash(*list);
    if (hash != expected_.hash) {
      add("The blocker list on disk is not what the packages and the preferences say.");
    }
    PosixFileSystem fileSystem;
    const auto current =
        CompiledListDirectory(fileSystem, machine_.container() / "CompiledLists").current();
    if (!current || current->source != hash) {
      add("The browser does not have the blocker list that is on disk.");
    }
  }

  void readCompanion() {
    status_.isCompanionRunning = SingleInstance::isHeld(machine_.companionLock());
    const auto error = companionStatus(process_.defaults()).error;
    // That the user has switched the blocker off has been said already, and may be over.
    if (!error.empty() && error != contentBlockerDisabledMessage) {
      add("The last attempt to give the browser its list has failed: " + error);
    }
  }

  LinuxPlatform& machine_;
  Process process_;
  Status status_;
  ExpectedList expected_;
};

void printText(const Status& status) {
  switch (status.state) {
    case State::blocking:
      fmt::print("Blocking is on.\n");
      break;
    case State::paused:
      fmt::print("Blocking is paused.\n");
      break;
    case State::switchedOff:
      fmt::print("Blocking is off.\n");
      break;
  }
  fmt::print("Packages:   {}, {} of them switched off\n", status.packages, status.disabledPackages);
  fmt::print("Blockers:   {} of at most {}\n", status.enabledBlockers, mostBlockersInList);
  fmt::print("Rebuilt:    {}\n", status.rebuilt ? localTimeText(*status.rebuilt) : "never");
  fmt::print("Companion:  {}\n", status.isCompanionRunning ? "running" : "not running");
  for (const auto& problem : status.problems) {
    std::size_t start = 0;
    for (auto end = problem.find('\n'); end != std::string::npos; end = problem.find('\n', start)) {
      fmt::print("Problem:    {}\n", printable(problem.substr(start, end - start)));
      start = end + 1;
    }
    fmt::print("Problem:    {}\n", printable(problem.substr(start)));
  }
}

const char* nameOf(State state) {
  switch (state) {
    case State::blocking:
      return "blocking";
    case State::paused:
      return "paused";
    case State::switchedOff:
      break;
  }
  return "switched off";
}

void write(JSONWriter& writer, const Status& status) {
  writer.StartObject();
  writeText(writer, "state", nameOf(status.state));
  writeNumber(writer, "packages", status.packages);
  writeNumber(writer, "disabledPackages", status.disabledPackages);
  writeNumber(writer, "enabledBlockers", status.enabledBlockers);
  writeNumber(writer, "mostBlockers", mostBlockersInList);
  writeText(writer, "rebuilt", status.rebuilt ? utcTimeText(*status.rebuilt) : "never");
  writeBoolean(writer, "companionRunning", status.isCompanionRunning);
  writer.Key("problems");
  writer.StartArray();
  for (const auto& problem : status.problems) writeText(writer, problem);
  writer.EndArray();
  writer.EndObject();
}

}  // namespace

int runStatusCommand(LinuxPlatform& machine, bool asJSON) {
  const auto status = StatusQuestion(machine).ask();
  if (asJSON) {
    printJSON([&](JSONWriter& writer) { write(writer, status); });
  } else {
    printText(status);
  }
  return status.problems.empty() ? 0 : 1;
}

}  // namespace orvane
