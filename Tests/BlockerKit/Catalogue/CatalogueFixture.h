#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Catalogue/DataManager.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

inline Rule blockRule(std::string id, std::string urlFilter = "x") {
  return {
      std::move(id), "", {{.urlFilter = std::move(urlFilter)}, *Action::make(ActionType::Block)}};
}

inline Package packageOf(std::string id, std::vector<Rule> rules = {}) {
  return {std::move(id), "N", std::move(rules)};
}

inline std::string containerFile(const std::string& name) {
  return std::string(TestPlatform::container) + "/" + name;
}
inline const std::string configurableFile = containerFile("ConfigurablePackages.json");
inline const std::string customFile = containerFile("CustomPackages.json");
inline const std::string preinstalledFile = containerFile("PreinstalledPackages.json");
inline const std::string lockFile = containerFile("PackageFiles.lock");
inline constexpr auto whitelistType = ConfigurablePackageType::Whitelist;

inline std::string packagesJSON(const std::vector<Package>& packages) {
  return toJSON(std::span<const Package>(packages)).value();
}

inline std::vector<std::string> ruleIDs(const Package& package) {
  std::vector<std::string> ids;
  for (const auto& rule : package.rules) ids.push_back(rule.id);
  return ids;
}

inline std::vector<std::string> packageIDs(const std::vector<Package>& packages) {
  std::vector<std::string> ids;
  for (const auto& package : packages) ids.push_back(package.id);
  return ids;
}

inline std::vector<std::string> packageIDs(const std::vector<const Package*>& packages) {
  std::vector<std::string> ids;
  for (const auto* package : packages) ids.push_back(package->id);
  return ids;
}

/// A process with a catalogue, on a machine that it may share. What it prints, the notifications of
/// its saves, the reloads that it asks for and the changes that it reports are lines in the order
/// in which they happen.
struct CatalogueProcess {
  struct Reload {
    BlockerPreferenceManager* preferences;
    bool allowsCancelling;
    SafariReloadingHandler handler;
  };

  explicit CatalogueProcess(
      std::shared_ptr<TestMachine> itsMachine = std::make_shared<TestMachine>())
      : machine(std::move(itsMachine)) {}

  std::vector<std::string>& lines() { return machine.standardOutput.lines; }
  InMemoryFileSystem& files() { return machine.fileSystem; }
  const Package& configurable(ConfigurablePackageType type) {
    return *dataManager.configurablePackage(type);
  }
  const Package& whitelist() { return configurable(ConfigurablePackageType::Whitelist); }

  /// What another process would read.
  std::vector<Package> onDisk(PackageType type) {
    TestPlatform other(machine.machine);
    PersistentStore reader(other.platform);
    return type == PackageType::ConfigurablePackages ? reader.readConfigurablePackages()
                                                     : reader.readCustomPackages();
  }

  DataManager::RefreshResult refresh() {
    std::optional<DataManager::RefreshResult> result;
    dataManager.refresh([&](DataManager::RefreshResult now) { result = now; });
    machine.time.runUntilIdle();
    EXPECT_TRUE(result.has_value()) << "the refresh did not complete";
    return result.value_or(DataManager::RefreshResult::failed);
  }

  TestPlatform machine;
  PersistentStore store{machine.platform};
  std::unique_ptr<Executor> writeQueue = machine.time.makeExecutor();
  std::vector<Reload> reloads;
  NSNotificationCenter::Observation willSave = observe("WillSavePackages");
  NSNotificationCenter::Observation didSave = observe("DidSavePackages");
  NSNotificationCenter::Observation willSavePreference = observe("WillSaveUserPreference");
  NSNotificationCenter::Observation didSavePreference = observe("DidSaveUserPreference");
  NSNotificationCenter::Observation didUpdate = observe("DidUpdatePreinstalledBlockers");
  DataManager dataManager{
      machine.platform,
      store,
      machine.suite(),
      *writeQueue,
      [this](BlockerPreferenceManager& preferences, bool allowsCancelling,
             SafariReloadingHandler handler) {
        lines().emplace_back("[reload]");
        reloads.push_back({&preferences, allowsCancelling, std::move(handler)});
      },
      {.ruleAdded = [this](const Rule& rule,
                           const Package& package) { note("added", rule, package); },
       .ruleDeleted = [this](const Rule& rule,
                             const Package& package) { note("deleted", rule, package); }}};

 private:
  NSNotificationCenter::Observation observe(const std::string& name) {
    return machine.notificationCenter.addObserver(name, [this](const NSNotification& notification) {
      lines().push_back("[" + notification.name + "]");
    });
  }
  void note(const std::string& what, const Rule& rule, const Package& package) {
    std::string text = "[" + what + " " + rule.id + " in " + package.id + " of";
    for (const auto& id : ruleIDs(package)) text += " " + id;
    lines().push_back(text + "]");
  }
};

/// A process alone on its machine.
class CatalogueTest : public ::testing::Test {
 protected:
  using Operation = InMemoryFileSystem::Operation;
  using Lines = std::vector<std::string>;

  void put(const std::string& path, const std::vector<Package>& packages, int second = 1) {
    files().put(path, packagesJSON(packages), second);
  }
  InMemoryFileSystem& files() { return process.files(); }
  Lines takeLines() { return process.machine.standardOutput.take(); }
  Lines takeLog() { return process.machine.systemLog.take(); }

  CatalogueProcess process;
  DataManager& dataManager = process.dataManager;
};

/// Two processes on one machine.
class TwoProcesses : public ::testing::Test {
 protected:
  using Operation = InMemoryFileSystem::Operation;

  InMemoryFileSystem& files() { return first.files(); }

  std::shared_ptr<TestMachine> machine = std::make_shared<TestMachine>();
  CatalogueProcess first{machine};
  CatalogueProcess second{machine};
};

}  // namespace orvane::test
