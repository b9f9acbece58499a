#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "BlockerKit/SyncManager/SyncManager.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;
using Value = KeyValueStore::Value;

inline const CKRecordZoneID rulesZone{"BlockerRulesZone"};

inline Rule blockRule(std::string id, std::string urlFilter = "x") {
  return {
      std::move(id), "R", {{.urlFilter = std::move(urlFilter)}, *Action::make(ActionType::Block)}};
}

inline Package packageOf(std::string id, std::vector<Rule> rules = {}) {
  return {std::move(id), "P", std::move(rules)};
}

/// What the queue holds of `blockRule` in that package.
inline Dictionary blockFields(const std::string& package, const std::string& urlFilter = "x") {
  return {{"name", "R"},
          {"package", package},
          {"urlFilter", urlFilter},
          {"caseSensitive", false},
          {"actionType", "block"}};
}

inline Dictionary packageFields() { return {{"name", "P"}}; }

inline std::vector<CKRecord> recordsToSave(RecordKind kind, const Dictionary& added,
                                           const Dictionary& metadata, LineOutput& systemLog) {
  const bool isPackage = kind == RecordKind::package;
  return RecordsToSave(entriesOf(isPackage ? added : Dictionary()),
                       entriesOf(isPackage ? Dictionary() : added), entriesOf(metadata), rulesZone,
                       systemLog)
      .all();
}

/// A process that records changes, on a machine that it may share; another one talks to the cloud.
struct SyncProcess {
  explicit SyncProcess(std::shared_ptr<TestMachine> itsMachine = std::make_shared<TestMachine>())
      : machine(std::move(itsMachine)) {}

  Value added(RecordKind kind) { return defaults().object(LocalChangesEdit::addedKey(kind)); }
  Value deleted(RecordKind kind) { return defaults().object(LocalChangesEdit::deletedKey(kind)); }
  Value addedRules() { return added(RecordKind::rule); }
  Value addedPackages() { return added(RecordKind::package); }
  Value deletedRules() { return deleted(RecordKind::rule); }
  Value deletedPackages() { return deleted(RecordKind::package); }

  void set(std::string_view key, const PropertyListValue& value) {
    ASSERT_TRUE(defaults().setObject(value, key));
  }
  void change(const std::function<void(LocalChangesEdit&)>& edit) {
    ASSERT_TRUE(queue.change(edit));
  }

  NSUserDefaults& defaults() { return machine.suite(); }
  std::vector<std::string>& printed() { return machine.standardOutput.lines; }
  std::vector<std::string>& logged() { return machine.systemLog.lines; }
  int flushes() const { return machine.suiteAtRisk.synchronizations; }

  TestPlatform machine;
  PersistentStore store{machine.platform};
  std::unique_ptr<Executor> writeQueue = machine.time.makeExecutor();
  DataManager dataManager{machine.platform,
                          store,
                          machine.suite(),
                          *writeQueue,
                          [](BlockerPreferenceManager&, bool, const SafariReloadingHandler&) {},
                          LocalChangeHooks{}};
  LocalChangesQueue queue{machine.suite(), machine.systemLog};
  SyncManager sync{machine.platform, sharedUserDefaults(machine.platform), dataManager,
                   SyncManager::Cloud::none, [] {}};
};

}  // namespace orvane::test

namespace orvane {

// NOLINTNEXTLINE(readability-identifier-naming): the test library's own name
inline void PrintTo(const PropertyListValue& value, std::ostream* os) {
  const auto& variant = value.variant;
  if (const auto* flag = value.as<bool>()) *os << (*flag ? "true" : "false");
  if (const auto* number = value.as<std::int64_t>()) *os << *number;
  if (const auto* text = value.as<std::string>()) *os << '"' << *text << '"';
  if (std::holds_alternative<PropertyListValue::Data>(variant)) *os << "data";
  if (const auto* array = value.as<PropertyListValue::Array>()) {
    *os << "[";
    for (const auto& element : *array) {
      PrintTo(element, os);
      *os << ",";
    }
    *os << "]";
  }
  if (const auto* dictionary = value.as<PropertyListValue::Dictionary>()) {
    *os << "{";
    for (const auto& [key, element] : *dictionary) {
      *os << key << ": ";
      PrintTo(element, os);
      *os << ", ";
    }
    *os << "}";
  }
}

}  // namespace orvane
