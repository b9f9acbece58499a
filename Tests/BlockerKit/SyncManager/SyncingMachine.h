#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BlockerKit/SyncManager/SyncManager.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {

/// A machine of a user, with the one process that talks to the cloud. Machines that share a clock
/// and a cloud are the same user's.
struct SyncingMachine {
  explicit SyncingMachine(std::shared_ptr<TestMachine> itsMachine = std::make_shared<TestMachine>())
      : machine(std::move(itsMachine)) {}

  /// Runs all that is due, on every machine of the clock.
  void run() { machine.time.runUntilIdle(); }

  std::vector<std::string>& printed() { return machine.standardOutput.lines; }
  bool hasPrinted(const std::string& line) const {
    const auto& lines = machine.standardOutput.lines;
    return std::ranges::find(lines, line) != lines.end();
  }
  NSUserDefaults& defaults() { return machine.suite(); }
  SimulatedCloud& cloud() { return *machine.machine->cloud; }

  bool add(const Rule& rule, const std::string& package = "block-url") {
    return dataManager.addRule(rule, package);
  }
  /// The IDs of the rules of a package; nothing when there is no such package.
  std::optional<std::vector<std::string>> rules(const std::string& package = "block-url") {
    for (const auto* held : dataManager.packages()) {
      if (held->id != package) continue;
      std::vector<std::string> ids;
      for (const auto& rule : held->rules) ids.push_back(rule.id);
      return ids;
    }
    return std::nullopt;
  }

  TestPlatform machine;
  PersistentStore store{machine.platform};
  std::unique_ptr<Executor> writeQueue = machine.time.makeExecutor();
  /// The requests for a reload of the list; each is answered with `reloadResult`.
  std::size_t reloads = 0;
  SafariReloadingResult reloadResult = SafariReloadingResult::success();
  /// Requests of the manager itself, because of preferences.
  std::size_t preferenceReloads = 0;
  std::vector<SyncEvent> events;
  DataManager dataManager{
      machine.platform,
      store,
      machine.suite(),
      *writeQueue,
      [this](BlockerPreferenceManager&, bool, const SafariReloadingHandler& handler) {
        ++reloads;
        if (handler) handler(reloadResult);
      },
      LocalChangeHooks{
          .ruleAdded = [this](const Rule& rule,
                              const Package& package) { sync->ruleAdded(rule, package); },
          .ruleDeleted = [this](const Rule& rule,
                                const Package& package) { sync->ruleDeleted(rule, package); }}};
  std::optional<SyncManager> sync{std::in_place,
                                  machine.platform,
                                  sharedUserDefaults(machine.platform),
                                  dataManager,
                                  SyncManager::Cloud::container,
                                  [this] { ++preferenceReloads; },
                                  [this](const SyncEvent& event) { events.push_back(event); }};
};

/// One more machine of the same user, with files and settings of its own.
inline std::shared_ptr<TestMachine> anotherMachine(const SyncingMachine& machine) {
  auto another = std::make_shared<TestMachine>();
  another->cloud = machine.machine.machine->cloud;
  return another;
}

}  // namespace orvane::test
