#include <random>
#include <string>
#include <vector>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"
#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "Linux/GLib/MainLoopExecutor.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Platform/Foundation/FatalError.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::benchmarks {
namespace {

constexpr std::size_t largeCount = 150'000;
constexpr std::size_t packageSize = 5'000;
constexpr const char* package = "block-url";

std::vector<Rule> rulesNamed(const std::string& prefix, std::size_t count) {
  std::vector<Rule> rules;
  rules.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    auto id = prefix + std::to_string(index);
    const Trigger trigger{.urlFilter = "^https?://([^/]+\\.)?" + id + "\\.example[/:&?]?",
                          .loadType = {{LoadType::ThirdParty}}};
    rules.push_back({std::move(id), "", {trigger, *Action::make(ActionType::Block)}});
  }
  return rules;
}

std::vector<std::string> identifiersOf(const std::vector<Rule>& rules) {
  std::vector<std::string> identifiers;
  for (const auto& rule : rules) identifiers.push_back(rule.id);
  return identifiers;
}

/// A queue in user defaults of its own.
class QueueMachine {
 public:
  void change(const std::function<void(LocalChangesEdit&)>& edit) {
    if (!queue_.change(edit)) fatalError("Cannot change the queue", "Benchmarks");
  }

  /// What recording added rules costs, until other processes can see them.
  void add(const std::vector<Rule>& rules) {
    change([&](LocalChangesEdit& edit) {
      edit.unmarkDeleted(identifiersOf(rules), RecordKind::rule);
      edit.addRules(rules, package);
    });
  }

  void remove(const std::vector<Rule>& rules) {
    change(
        [&](LocalChangesEdit& edit) { edit.removeAdded(identifiersOf(rules), RecordKind::rule); });
  }

  void markDeleted(const std::vector<Rule>& rules) {
    change(
        [&](LocalChangesEdit& edit) { edit.markDeleted(identifiersOf(rules), RecordKind::rule); });
  }

  void unmarkDeleted(const std::vector<Rule>& rules) {
    change([&](LocalChangesEdit& edit) {
      edit.unmarkDeleted(identifiersOf(rules), RecordKind::rule);
    });
  }

 private:
  test::TemporaryDirectory folder_;
  MainLoopExecutor mainQueue_;
  SQLiteKeyValueDatabase database_{folder_ / "UserDefaults.sqlite", mainQueue_};
  test::RecordingOutput log_;
  NSUserDefaults defaults_{database_, log_};
  LocalChangesQueue queue_{defaults_, log_};
};

/// Some rules added to a queue of many, beside the same in an empty one.
void addRules(benchmark::State& state, std::size_t count) {
  QueueMachine large;
  QueueMachine empty;
  large.add(rulesNamed("queued", largeCount));
  const auto added = rulesNamed("added", count);
  const auto others = rulesNamed("other", 1);
  std::minstd_rand random;
  const auto prepare = [&] {
    // Every so many pages a commit also empties the log; it is not to fall on the same side always.
    const auto commits = random() % 8;
    for (auto* machine : {&large, &empty}) {
      machine->remove(added);
      for (auto commit = commits; commit > 0; --commit) {
        machine->add(others);
        machine->remove(others);
      }
    }
  };
  measureBeside(
      state, prepare, [&] { large.add(added); }, [&] { empty.add(added); });
}

/// A rule listed as deleted behind many others, beside the same in an empty list. The list is one
/// value, so this grows with it.
void deleteRule(benchmark::State& state) {
  QueueMachine large;
  QueueMachine empty;
  large.markDeleted(rulesNamed("queued", largeCount));
  const auto deleted = rulesNamed("deleted", 1);
  const auto prepare = [&] {
    large.unmarkDeleted(deleted);
    empty.unmarkDeleted(deleted);
  };
  measureBeside(
      state, prepare, [&] { large.markDeleted(deleted); }, [&] { empty.markDeleted(deleted); });
}

template <typename Function>
void registerOne(const char* name, Function function) {
  benchmark::RegisterBenchmark(name, function)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

}  // namespace

void registerQueue() {
  registerOne("queue/addRule/150000", [](benchmark::State& state) { addRules(state, 1); });
  registerOne("queue/addPackage/150000",
              [](benchmark::State& state) { addRules(state, packageSize); });
  registerOne("queue/deleteRule/150000", deleteRule);
}

}  // namespace orvane::benchmarks
