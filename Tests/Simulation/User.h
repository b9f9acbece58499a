#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Tests/Simulation/SimulatedProcess.h"

namespace orvane::test {

/// Does at a machine what a user does, and remembers in the world's model what came of it.
class User {
 public:
  explicit User(World& world) : world_(world) {}

  /// Anything. In a process without a cloud only what a browser offers.
  void doSomething(SimulatedProcess& process, const std::string& machine, bool isCompanion);

  void addRule(SimulatedProcess& process, const std::string& machine);
  void editRule(SimulatedProcess& process, const std::string& machine);
  void deleteRule(SimulatedProcess& process, const std::string& machine);
  void addPackage(SimulatedProcess& process, const std::string& machine);
  void renamePackage(SimulatedProcess& process, const std::string& machine);
  void deletePackage(SimulatedProcess& process, const std::string& machine);
  void switchSomething(SimulatedProcess& process, const std::string& machine);

  /// A rule of any form.
  Rule anyRule(const std::string& id);
  /// An identifier that nobody has used.
  std::string newID(const std::string& prefix);

  /// The process has died, or could not write: what it alone had is not kept for the cloud.
  void lookAfter(SimulatedProcess& process);

 private:
  struct Place {
    Package package;
    Rule rule;
  };

  std::optional<Place> anyPlace(SimulatedProcess& process);
  std::string idForNewRule();
  void setRule(SimulatedProcess& process, const std::string& machine, const Rule& rule,
               const std::string& package);
  UserModel::Answer answerOf(SimulatedProcess& process, bool isDone, std::size_t refusedBefore,
                             const std::vector<std::string>& ids);
  void savePackage(SimulatedProcess& process, const std::string& machine, const Package& package);

  World& world_;
  std::size_t idCount_ = 0;
};

}  // namespace orvane::test
