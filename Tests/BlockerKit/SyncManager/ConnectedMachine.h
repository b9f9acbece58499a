#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {

using namespace std::chrono_literals;

inline constexpr const char* nothingToPush = "No local record changes to push";

inline CKRecord packageRecord(const std::string& id, const std::string& name = "P") {
  CKRecord record("package", {id, rulesZone});
  record.setValue("name", name);
  return record;
}

inline CKRecord ruleRecord(const std::string& id, const std::string& urlFilter = "x",
                           const std::string& package = "block-url") {
  CKRecord record("rule", {id, rulesZone});
  record.setValue("name", std::string("R"));
  record.setValue("package", CKReference{{package, rulesZone}});
  record.setValue("urlFilter", urlFilter);
  record.setValue("caseSensitive", false);
  record.setValue("actionType", std::string("block"));
  return record;
}

inline CKError errorOf(CKErrorCode code, std::optional<double> retryAfter = std::nullopt,
                       std::string description = "It failed.") {
  CKError error;
  error.code = code;
  error.localizedDescription = std::move(description);
  error.retryAfter = retryAfter;
  return error;
}

/// An error that is about single items, in this order.
inline CKError errorAbout(std::vector<CKPartialError> items) {
  auto error = errorOf(CKErrorCode::partialFailure, std::nullopt, "Some items failed.");
  error.partialErrorsByItemID = std::move(items);
  return error;
}

/// The line about a retry at that time.
inline std::string retryLine(Executor::Time deadline) {
  return fmt::format("Retrying data push in DispatchTime(rawValue: {}) secs ..",
                     deadline.time_since_epoch().count());
}

/// The cloud as another machine of the user has it, which asks no manager.
class CloudSide {
 public:
  explicit CloudSide(SimulatedCloud& cloud) : backend_(cloud.connect("mia")) {}

  void saveZone() { ASSERT_TRUE(backend_->saveZone(rulesZone, {})); }
  void deleteZone() { ASSERT_TRUE(backend_->deleteZone(rulesZone, {})); }
  void subscribe(const std::string& id) {
    ASSERT_TRUE(backend_->saveSubscription({id, rulesZone}, {}));
  }

  /// Whatever the cloud has under that name.
  void save(const CKRecord& record) {
    const auto there = records();
    const auto& name = record.recordID().recordName;
    auto changed = there.contains(name) ? there.at(name) : record;
    for (const auto& key : record.allKeys()) changed.setValue(key, record.value(key));
    ASSERT_TRUE(backend_->modifyRecords({rulesZone, {changed}, {}}, {}));
  }
  void remove(const std::string& name) {
    ASSERT_TRUE(backend_->modifyRecords({rulesZone, {}, {{name, rulesZone}}}, {}));
  }

  /// By their names.
  std::map<std::string, CKRecord> records() {
    const auto changes = backend_->fetchChanges(rulesZone, std::nullopt, 1'000'000, {});
    std::map<std::string, CKRecord> records;
    if (!changes) return records;
    for (const auto& record : changes->changed) {
      records.emplace(record.recordID().recordName, record);
    }
    return records;
  }
  std::vector<std::string> names() {
    std::vector<std::string> names;
    for (const auto& [name, record] : records()) names.push_back(name);
    return names;
  }
  /// The text of a field; empty when there is no such record or text.
  std::string text(const std::string& name, const std::string& key) {
    const auto all = records();
    const auto* text = all.contains(name) ? all.at(name).as<std::string>(key) : nullptr;
    return text == nullptr ? "" : *text;
  }

 private:
  std::unique_ptr<CloudBackend> backend_;
};

/// A machine that has not asked the cloud for anything yet.
class NewMachine : public ::testing::Test {
 protected:
  std::vector<std::string> take() { return machine->machine.standardOutput.take(); }
  /// All that is printed by what is due, and becomes due by that.
  std::vector<std::string> printedByRun() {
    take();
    machine->run();
    return take();
  }
  void push(std::size_t split = 1) {
    machine->sync->pushAllLocalUpdates(split);
    machine->run();
  }
  void fetch() {
    machine->sync->fetchRemoteChanges(nullptr);
    machine->run();
  }
  void accountChanges() {
    machine->machine.notificationCenter.post({.name = CKAccountChanged});
    machine->run();
  }
  Executor::Time in(Executor::Duration duration) const {
    return machine->machine.time.now() + duration;
  }
  void advance(Executor::Duration duration) { machine->machine.time.advance(duration); }

  Value object(std::string_view key) { return machine->defaults().object(key); }
  void set(std::string_view key, const PropertyListValue& value) {
    ASSERT_TRUE(machine->defaults().setObject(value, key));
  }
  bool zoneIsSaved() { return machine->defaults().boolForKey("ZoneSaved"); }
  bool isAdded(const std::string& rule) {
    return machine->defaults().entry("AddedRules", rule).has_value();
  }
  bool hasMetadata(const std::string& name) {
    return machine->defaults().entry("RecordMetaData", name).has_value();
  }
  /// Puts the rules "rule-0", "rule-1", ... into the queue.
  void queueRules(std::size_t count) {
    for (std::size_t number = 0; number < count; ++number) {
      ASSERT_TRUE(machine->defaults().setEntry("AddedRules", fmt::format("rule-{}", number),
                                               blockFields("block-url")));
    }
  }

  std::size_t count(const std::string& line) const {
    const auto& lines = machine->machine.standardOutput.lines;
    return static_cast<std::size_t>(std::ranges::count(lines, line));
  }
  /// From now on the requests are listed.
  void listRequests() {
    requests.clear();
    batches.clear();
    machine->cloud().watch([this](CloudRequest request, const CloudBatch* batch) {
      requests.push_back(request);
      if (batch != nullptr) batches.push_back(*batch);
    });
  }
  /// What one request of that kind does before it is carried out.
  void during(CloudRequest kind, std::function<void()> action) {
    machine->cloud().watch([this, kind, action = std::move(action)](CloudRequest request,
                                                                    const CloudBatch* /*batch*/) {
      if (request != kind) return;
      const auto now = action;
      machine->cloud().watch(nullptr);
      now();
    });
  }

  /// The process ends, and a new one has the same files and settings.
  void restart() {
    const auto same = machine->machine.machine;
    machine.reset();
    machine.emplace(same);
  }

  std::optional<SyncingMachine> machine{std::in_place};
  CloudSide cloudSide{machine->cloud()};
  std::vector<CloudRequest> requests;
  std::vector<CloudBatch> batches;
};

/// A machine whose account, zone and subscription are known: a push asks for changes of records
/// alone.
class ConnectedMachine : public NewMachine {
 protected:
  ConnectedMachine() {
    machine->sync->update({});
    machine->run();
    take();
  }
};

}  // namespace orvane::test
