#pragma once

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Tests/Simulation/SimulatedProcess.h"

namespace orvane::test {

/// Two machines of a user, which a test moves step by step.
class TwoSimulatedMachines : public ::testing::Test {
 protected:
  static constexpr const char* list = "block-url";

  static Rule rule(const std::string& id, const std::string& urlFilter = "ads") {
    return {id, "", {{.urlFilter = urlFilter}, *Action::make(ActionType::Block)}};
  }

  struct Machine {
    Machine(World& world, const std::string& name) : state(name) {
      state.machine->cloud = world.cloud;
      static_cast<void>(state.machine->fileSystem.createDirectories(TestPlatform::container));
      companion = std::make_unique<SimulatedCompanion>(world, state);
    }

    DataManager& catalogue() { return companion->dataManager(); }
    SyncManager& sync() { return companion->process().syncManager(); }
    std::vector<std::string> rules(const std::string& package = list) {
      std::vector<std::string> ids;
      for (const auto& held : companion->packages()) {
        if (held.id != package) continue;
        for (const auto& heldRule : held.rules) ids.push_back(heldRule.id);
      }
      return ids;
    }
    std::string urlFilterOf(const std::string& id) {
      for (const auto& package : companion->packages()) {
        for (const auto& held : package.rules) {
          if (held.id == id) return held.blocker.trigger.urlFilter;
        }
      }
      return "no such rule";
    }
    bool isWaiting(const std::string& key) { return state.hasEntries(key); }
    bool add(const Rule& added, const std::string& package = list) {
      return catalogue().addRule(added, package);
    }
    bool remove(const Rule& removed) {
      return catalogue().replaceRule(removed, std::nullopt, ConfigurablePackageType::BlockURL);
    }
    void addPackage(const Package& package) {
      catalogue().addPackage(package);
      ASSERT_TRUE(catalogue().save(PackageCollectionType::custom, nullptr));
      sync().packageAdded(package);
    }
    void removePackage(const Package& package) {
      catalogue().removeItem(package.id);
      ASSERT_TRUE(catalogue().save(PackageCollectionType::custom, nullptr));
      sync().packageDeleted(package);
    }

    MachineState state;
    std::unique_ptr<SimulatedCompanion> companion;
  };

  TwoSimulatedMachines() { world.faults.isOn = false; }
  ~TwoSimulatedMachines() override {
    if (HasFailure()) std::cout << world.trace.text();
  }

  static void run(Machine& machine) { machine.state.machine->time.runUntilIdle(); }
  /// Until nothing moves.
  void settle() {
    for (int round = 0; round < 4; ++round) {
      for (auto* machine : {&first, &second}) {
        machine->companion->syncEverything();
        run(first);
        run(second);
        run(first);
      }
    }
  }
  void deleteZone() {
    EXPECT_TRUE(world.cloud->connect(World::user)->deleteZone({SyncManager::zoneName}, {}));
  }

  World world{1};
  Machine first{world, "first"};
  Machine second{world, "second"};
};

}  // namespace orvane::test
