#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Platform/CloudKit/KeyValueExchange.h"
#include "Process/CloudEvents.h"
#include "Process/Process.h"
#include "Tests/Simulation/FaultyCloud.h"
#include "Tests/Simulation/FetchedDeletions.h"
#include "Tests/Simulation/SlowExecutor.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

/// A machine as its processes find it, and as it survives them.
struct MachineState {
  explicit MachineState(const std::string& name) {
    access.machine = name;
    access.hasPagesToApply = [this] { return hasEntries(FetchedPages::key); };
  }

  const std::string& name() const { return access.machine; }
  std::optional<PropertyListValue> value(std::string_view key) {
    return suite.value(key).value_or(std::nullopt);
  }
  bool hasEntries(std::string_view key);

  std::shared_ptr<TestMachine> machine = std::make_shared<TestMachine>();
  DiskFailures disk;
  CloudAccess access;

  /// For whoever looks at the machine from outside.
  std::unique_ptr<Executor> executor = machine->time.makeExecutor();
  InMemoryKeyValueDatabase suite{machine->suite, *executor};
};

/// One process of a machine, with all of the product's parts, and with the risks that it runs.
class SimulatedProcess {
 public:
  /// Both outlive the process.
  SimulatedProcess(World& world, MachineState& state, SyncManager::Cloud cloud);
  SimulatedProcess(const SimulatedProcess&) = delete;
  SimulatedProcess& operator=(const SimulatedProcess&) = delete;
  ~SimulatedProcess() = default;

  Process& process() { return *process_; }
  DataManager& dataManager() { return process_->dataManager(); }
  Platform& platform() { return platform_; }
  Risk& risk() { return risk_; }
  const std::string& machine() const { return state_.name(); }

  /// Edits that are in this process alone, since a file could not be written.
  std::vector<std::string> unsaved;
  /// How many refusals of the risk have been looked at.
  std::size_t refusalsSeen = 0;

 protected:
  World& world_;
  MachineState& state_;

 private:
  /// Counts the ends of fetches, which are printed.
  class Output final : public LineOutput {
   public:
    explicit Output(FetchWatch& watch) : watch_(watch) {}
    void print(std::string_view line) override {
      if (line == "more coming..." || line == "Finished remote changes fetch") watch_.completed();
    }

   private:
    FetchWatch& watch_;
  };

  Executor::Duration cloudDelay();

  TestPlatform base_;
  Risk risk_;
  RiskyFileSystem files_;
  NSFileManager fileManager_;
  NSBundle bundle_;
  Output output_;
  InMemoryKeyValueDatabase suiteDatabase_;
  FetchedDeletions fetchedDeletions_;
  RiskyDatabase riskySuite_;
  NSUserDefaults suite_;
  UserDefaultsSuites openSuite_;
  InMemoryKeyValueDatabase ubiquitousDatabase_;
  RiskyDatabase riskyUbiquitous_;
  NSUbiquitousKeyValueStore ubiquitousStore_;
  InMemoryKeyValueDatabase table_;
  RiskyDatabase riskyTable_;

 protected:
  /// The preferences, for their exchange.
  KeyValueExchange::Table exchangeTable() {
    return {.own = riskyUbiquitous_, .foreign = riskyTable_};
  }

 private:
  SlowExecutor cloudQueue_;
  FaultyCloud cloud_;
  Platform platform_;

 protected:
  std::optional<Process> process_;
};

/// The process that talks to the cloud.
class SimulatedCompanion final : public SimulatedProcess {
 public:
  SimulatedCompanion(World& world, MachineState& state);

  /// What the user owns.
  std::vector<Package> packages();
  /// The machine is told that the account may have changed, exchanges preferences, pushes and
  /// fetches.
  void syncEverything();

 private:
  void start();
  void packageFilesChanged();

  KeyValueExchange exchange_;
  CloudEvents events_;
  std::unique_ptr<NSUserDefaults::Observation> observation_;
};

}  // namespace orvane::test
