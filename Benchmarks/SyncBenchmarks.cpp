#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Check.h"
#include "Benchmarks/Measurement.h"
#include "Benchmarks/RuleRecords.h"
#include "BlockerKit/SyncManager/LocalChangesQueue.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/SQLite/SQLiteCloud.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Process/Process.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::benchmarks {
namespace {

constexpr const char* packageID = "5A0C3B1E-7A94-4C53-B1CB-6D0E1C9F2D11";

std::vector<Package> packagesOf(std::size_t ruleCount) {
  Package package{packageID, "Mine", {}};
  for (std::size_t index = 0; index < ruleCount; ++index) {
    auto id = fmt::format("{:08X}-0000-4000-8000-000000000000", index);
    const Trigger trigger{.urlFilter = fmt::format("^https?://([^/]+\\.)?s{}\\.example[/:]", index),
                          .loadType = {{LoadType::ThirdParty}}};
    package.rules.push_back({std::move(id), "", {trigger, *Action::make(ActionType::Block)}});
  }
  return {std::move(package)};
}

/// A machine with real files, settings and way to the cloud, whose queues run in this thread.
class SyncMachine {
 public:
  SyncMachine(const std::filesystem::path& cloud, const std::vector<Package>& packages)
      : cloud_(cloud) {
    check(process_.store().writePackages(packages, PackageType::CustomPackages),
          "The packages cannot be written");
  }

  /// As the companion does it when it starts.
  void start() {
    auto packages = process_.dataManager().configurablePackages();
    const auto& custom = process_.dataManager().customPackages();
    packages.insert(packages.end(), custom.begin(), custom.end());
    process_.syncManager().update(packages);
    rest_.time.runUntilIdle();
  }
  void fetch() {
    process_.syncManager().fetchRemoteChanges(nullptr);
    rest_.time.runUntilIdle();
  }

  /// How often the program has said a line that starts so.
  std::size_t saidLines(std::string_view start) const {
    const auto& lines = rest_.standardOutput.lines;
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [&](const std::string& line) { return line.starts_with(start); }));
  }

  std::size_t waiting() { return LocalChangesQueue(suite_, rest_.systemLog).count().total(); }
  std::size_t ruleCount() {
    const auto& packages = process_.dataManager().customPackages();
    return packages.empty() ? 0 : packages.front().rules.size();
  }

 private:
  test::TemporaryDirectory folder_;
  PosixFileSystem fileSystem_;
  NSFileManager fileManager_{fileSystem_, {folder_.path(), {folder_ / "Documents"}}};
  NSBundle bundle_{fileManager_, folder_ / "bundle"};
  test::TestPlatform rest_;
  SQLiteKeyValueDatabase database_{folder_ / "UserDefaults.sqlite", *rest_.mainQueue};
  NSUserDefaults suite_{database_, rest_.systemLog};
  UserDefaultsSuites suites_ = [this](std::string_view) { return &suite_; };
  SQLiteCloud cloud_;
  Platform platform_{fileManager_,
                     bundle_,
                     rest_.notificationCenter,
                     rest_.urlLoader,
                     rest_.makeUUID,
                     rest_.standardOutput,
                     rest_.systemLog,
                     *rest_.mainQueue,
                     rest_.makeSerialQueue,
                     suites_,
                     rest_.standardUserDefaults,
                     rest_.ubiquitousStore,
                     rest_.contentBlockerManager,
                     rest_.workspace,
                     cloud_,
                     *rest_.cloudQueue};
  Process process_{platform_, {.cloud = SyncManager::Cloud::container}};
};

/// The same number of records in batches and pages, without a machine.
class BareCloud {
 public:
  explicit BareCloud(std::size_t count) : records_(ruleRecords(count)) {
    check(cloud_.saveZone(ruleZone, {}).has_value(), "Cannot save a zone");
  }
  void save() { saveInBatches(cloud_, records_); }
  void fetch() { check(fetchInPages(cloud_) == records_.size(), "Cannot fetch"); }

 private:
  test::TemporaryDirectory folder_;
  SQLiteCloud cloud_{folder_ / "Cloud.sqlite"};
  std::vector<CKRecord> records_;
};

void sendAll(benchmark::State& state, std::size_t count) {
  const auto packages = packagesOf(count);
  std::optional<test::TemporaryDirectory> folder;
  std::unique_ptr<SyncMachine> machine;
  std::unique_ptr<BareCloud> bare;
  const auto prepare = [&] {
    machine.reset();
    folder.emplace();
    machine = std::make_unique<SyncMachine>(*folder / "Cloud.sqlite", packages);
    bare = std::make_unique<BareCloud>(count);
  };
  const auto work = [&] {
    machine->start();
    check(machine->waiting() == 0, "Not everything was sent");
  };
  measureRates(state, count, prepare, work, {{"cloud", [&] { bare->save(); }}});
  machine.reset();
}

void receiveAll(benchmark::State& state, std::size_t count) {
  const test::TemporaryDirectory folder;
  const auto cloud = folder / "Cloud.sqlite";
  {
    SyncMachine first(cloud, packagesOf(count));
    first.start();
    check(first.waiting() == 0, "Not everything was sent");
  }
  BareCloud bare(count);
  bare.save();
  std::unique_ptr<SyncMachine> machine;
  const auto prepare = [&] {
    machine = std::make_unique<SyncMachine>(cloud, std::vector<Package>());
  };
  const auto work = [&] {
    machine->start();
    machine->fetch();
    check(machine->ruleCount() == count, "Not everything has come");
  };
  measureRates(state, count, prepare, work, {{"cloud", [&] { bare.fetch(); }}});
  machine.reset();
}

/// A machine that was restored from a backup has all that the cloud has, and does not know it.
/// Every record is a conflict of its own, and after each of them the whole push begins again.
void meetAgain(benchmark::State& state, std::size_t count) {
  const auto packages = packagesOf(count);
  const test::TemporaryDirectory folder;
  const auto cloud = folder / "Cloud.sqlite";
  {
    SyncMachine first(cloud, packages);
    first.start();
    check(first.waiting() == 0, "Not everything was sent");
  }
  BareCloud bare(count);
  std::unique_ptr<SyncMachine> machine;
  const auto work = [&] {
    machine->start();
    check(machine->waiting() == 0, "Not everything was sent");
    check(machine->ruleCount() == count, "The machines differ");
  };
  measureRates(state, count, [&] { machine = std::make_unique<SyncMachine>(cloud, packages); },
               work, {{"cloud", [&] { bare.save(); }}});
  state.counters["conflicts"] = static_cast<double>(machine->saidLines("Merging "));
  state.counters["pushes"] = static_cast<double>(machine->saidLines("Records to add/modify "));
  // What is too large or cancelled does not reach the cloud.
  state.counters["requests"] = static_cast<double>(machine->saidLines("Merging ") +
                                                   machine->saidLines("Local changes pushed"));
  machine.reset();
}

void deleteFromCloud(const std::filesystem::path& path, const std::vector<std::string>& names) {
  const CKRecordZoneID zone{SyncManager::zoneName};
  SQLiteCloud cloud(path);
  for (std::size_t first = 0; first < names.size(); first += cloudBatchSize) {
    std::vector<CKRecordID> ids;
    for (std::size_t at = first; at < std::min(first + cloudBatchSize, names.size()); ++at) {
      ids.push_back({names[at], zone});
    }
    check(cloud.modifyRecords({zone, {}, ids}, {}).has_value(), "Cannot delete");
  }
}

/// A machine that has all learns that another one has deleted these.
void learnDeletions(benchmark::State& state, const std::vector<Package>& packages,
                    const std::vector<std::string>& names) {
  const test::TemporaryDirectory folder;
  const auto cloud = folder / "Cloud.sqlite";
  std::unique_ptr<SyncMachine> machine;
  const auto prepare = [&] {
    SyncMachine(cloud, packages).start();
    machine = std::make_unique<SyncMachine>(cloud, std::vector<Package>());
    machine->start();
    machine->fetch();
    check(machine->ruleCount() == packages.front().rules.size(), "Not everything has come");
    deleteFromCloud(cloud, names);
  };
  const auto work = [&] {
    machine->fetch();
    check(machine->ruleCount() == 0, "Not everything is gone");
  };
  measureRates(state, names.size(), prepare, work, {});
  machine.reset();
}

/// As the names of rules that were not made in their order.
std::vector<std::string> shuffledRuleNames(const std::vector<Package>& packages) {
  std::vector<std::string> names;
  for (const auto& rule : packages.front().rules) names.push_back(rule.id);
  std::ranges::shuffle(names, std::mt19937(1));
  return names;
}

void learnDeletionsOfRulesFirst(benchmark::State& state, std::size_t count) {
  const auto packages = packagesOf(count);
  auto names = shuffledRuleNames(packages);
  names.emplace_back(packageID);
  learnDeletions(state, packages, names);
}

void learnDeletionsOfPackageFirst(benchmark::State& state, std::size_t count) {
  const auto packages = packagesOf(count);
  auto names = shuffledRuleNames(packages);
  names.insert(names.begin(), packageID);
  learnDeletions(state, packages, names);
}

void registerOne(const char* name, std::size_t count,
                 void (*function)(benchmark::State&, std::size_t)) {
  benchmark::RegisterBenchmark(fmt::format("sync/{}/{}", name, count).c_str(), function, count)
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerSync(std::size_t ruleCount) {
  registerOne("send", ruleCount, sendAll);
  registerOne("receive", ruleCount, receiveAll);
}

void registerDeletions(std::size_t ruleCount) {
  registerOne("delete", ruleCount, learnDeletionsOfRulesFirst);
  registerOne("delete-package-first", ruleCount, learnDeletionsOfPackageFirst);
}

void registerRestoredSync(std::size_t ruleCount) { registerOne("restored", ruleCount, meetAgain); }

}  // namespace orvane::benchmarks
