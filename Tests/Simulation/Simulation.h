#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tests/Simulation/User.h"

namespace orvane::test {

/// A user with several machines, each with a companion and maybe a browser, and one cloud, on
/// virtual time: everything that happens hangs on the seed.
///
/// For a while the user works on all machines and everything goes wrong that can. Then the faults
/// end, all machines push and fetch until nothing moves, and everything must be the same
/// everywhere.
class Simulation {
 public:
  struct Result {
    /// Nothing when all is as it should be.
    std::optional<std::string> failure;
    std::string trace;
    /// How often each exception has excused a difference, and what else is worth counting.
    std::map<std::string, std::size_t> counts;
  };

  explicit Simulation(std::uint64_t seed, std::size_t traceLength = 80);

  Result run();

 private:
  struct Machine {
    explicit Machine(const std::string& name) : state(name) {}

    MachineState state;
    std::unique_ptr<SimulatedCompanion> companion;
    std::unique_ptr<SimulatedProcess> browser;
  };
  /// Packages and rules by their identifiers.
  using Contents = std::map<std::string, UserModel::Version>;

  void drawFaults();
  void makeMachines();
  void writeOwnRules(Machine& machine, const std::vector<Rule>& rules);
  void startProcesses(Machine& machine);
  void endProcesses(Machine& machine);

  void step();
  void disturb();
  bool runOneTask();
  void waitFor(Executor::Duration duration);
  void waitForNextTask();
  void buryTheDead();

  void endFaults();
  /// Runs until nothing is due any more, at any time.
  void rest();
  bool settle();
  std::string digest();
  std::string digestOfPackages();

  void checkEverything();
  void checkQueues(Machine& machine);
  void checkContents(Machine& machine, const Contents& cloud);
  void checkModel(const Contents& cloud);
  bool isGoneWithItsPackage(const std::string& id, const Contents& cloud) const;
  void checkPreferences();
  void checkAgain();
  void checkLastRound();
  void checkSame(const std::string& after);
  void fail(const std::string& what);

  Contents contents(Machine& machine);
  bool isZoneThere();
  Contents cloudContents();
  using Machines = std::vector<const Machine*>;
  bool isException(const std::string& id, const UserModel::Version* version,
                   const Machines& machines);
  Machines allMachines() const;
  bool isStuck(Machine& machine);
  bool isOvertakenEdit(const Machine& machine, const std::string& id,
                       const std::optional<std::string>& package);

  World world_;
  User user_{world_};
  std::vector<std::unique_ptr<Machine>> machines_;
  bool deletesZone_ = false;
  std::size_t deathPerMille_ = 0;
  bool fillsDisks_ = false;
  bool losesAccounts_ = false;
  std::set<std::string> stuckIDs_;
  std::set<std::string> cloudNames_;
  std::map<std::string, std::size_t> counts_;
  std::optional<std::string> failure_;
};

}  // namespace orvane::test
