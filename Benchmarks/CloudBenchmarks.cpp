#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"
#include "Linux/SQLite/SQLiteCloud.h"
#include "Linux/SQLite/SQLiteConnection.h"
#include "Linux/SQLite/SQLiteStatement.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"
#include "Platform/Foundation/FatalError.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::benchmarks {
namespace {

constexpr std::size_t recordCount = 150'000;
constexpr std::size_t batchSize = 400;
constexpr std::size_t pageSize = 2000;
constexpr int busyTimeout = 5000;
const CKRecordZoneID zoneID{"Zone"};

void check(bool worked, const char* message) {
  if (!worked) fatalError(message, "Benchmarks");
}

std::string nameOf(std::size_t index) { return fmt::format("rule-{:06}", index); }

CKRecord ruleRecord(std::size_t index) {
  CKRecord record("rule", {nameOf(index), zoneID});
  record.setValue("name", CKRecordValue(fmt::format("Hide the banner {}", index)));
  record.setValue("urlFilter",
                  CKRecordValue(fmt::format(R"(^https?://([^/]+\.)?s{}\.com/)", index)));
  record.setValue("caseSensitive", CKRecordValue(false));
  record.setValue("actionType", CKRecordValue("css-display-none"));
  record.setValue("selector", CKRecordValue(fmt::format(".banner-{} > div.advertisement", index)));
  record.setValue("package", CKRecordValue(CKReference{{"package", zoneID}}));
  return record;
}

std::vector<CKRecord> ruleRecords() {
  std::vector<CKRecord> records;
  records.reserve(recordCount);
  for (std::size_t index = 0; index < recordCount; ++index) records.push_back(ruleRecord(index));
  return records;
}

/// A new cloud in a file.
class CloudMachine {
 public:
  CloudMachine() { check(cloud_.saveZone(zoneID, {}).has_value(), "Cannot save a zone"); }

  /// All of them, in batches. Afterwards they are as the cloud has them.
  void save(std::vector<CKRecord>& records) {
    for (std::size_t first = 0; first < records.size(); first += batchSize) {
      const auto begin = records.begin() + static_cast<std::ptrdiff_t>(first);
      const auto end =
          begin + static_cast<std::ptrdiff_t>(std::min(batchSize, records.size() - first));
      const auto result = cloud_.modifyRecords({zoneID, {begin, end}, {}}, {});
      check(result.has_value(), "Cannot save");
      auto tag = result->changeTags.begin();
      for (auto record = begin; record != end; ++record)
        *record = record->savedWithChangeTag(*tag++);
    }
  }

  std::size_t fetch() {
    std::size_t count = 0;
    std::optional<CKServerChangeToken> token;
    for (bool moreComing = true; moreComing;) {
      const auto changes = cloud_.fetchChanges(zoneID, token, pageSize, {});
      check(changes.has_value(), "Cannot fetch");
      count += changes->changed.size();
      token = changes->token;
      moreComing = changes->moreComing;
    }
    return count;
  }

 private:
  test::TemporaryDirectory folder_;
  SQLiteCloud cloud_{folder_ / "Cloud.sqlite"};
};

/// A table of the same rows in the same batches, without anything that makes it a cloud.
class BareTable {
 public:
  BareTable() {
    check(connection_.has_value() &&
              connection_
                  ->execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL;"
                            "CREATE TABLE record (zone, name, type, tag, fields,"
                            "                     PRIMARY KEY (zone, name));"
                            "CREATE UNIQUE INDEX record_by_tag ON record (zone, tag)")
                  .has_value(),
          "There is no database to compare with");
    upsert_.emplace(connection_->handle(),
                    "INSERT INTO record VALUES (1, ?1, 'rule', ?2, ?3) ON CONFLICT (zone, name) "
                    "DO UPDATE SET tag = ?2, fields = ?3");
    select_.emplace(connection_->handle(),
                    "SELECT name, tag, fields FROM record WHERE zone = 1 AND tag > ? "
                    "ORDER BY tag LIMIT ?");
  }

  void save(const std::vector<std::string>& texts) {
    for (std::size_t index = 0; index < texts.size(); ++index) {
      if (index % batchSize == 0) execute("BEGIN IMMEDIATE");
      SQLiteRun run(*upsert_, nameOf(index), ++tag_, texts[index]);
      check(run.finish(), "Cannot insert");
      if (index % batchSize == batchSize - 1 || index + 1 == texts.size()) execute("COMMIT");
    }
  }

  std::size_t fetch() {
    std::size_t count = 0;
    std::int64_t last = 0;
    for (std::size_t before = 1; count != before;) {
      before = count;
      SQLiteRun run(*select_, last, std::int64_t{pageSize});
      while (run.next()) {
        last = run.integer(1);
        benchmark::DoNotOptimize(run.text(2));
        ++count;
      }
    }
    return count;
  }

 private:
  void execute(const char* statement) {
    check(connection_->execute(statement).has_value(), "Cannot write");
  }

  test::TemporaryDirectory folder_;
  Expected<SQLiteConnection> connection_ =
      SQLiteConnection::open(folder_ / "raw.sqlite", folder_.path(), busyTimeout);
  std::optional<SQLiteStatement> upsert_;
  std::optional<SQLiteStatement> select_;
  std::int64_t tag_ = 0;
};

std::vector<std::string> textsOf(const std::vector<CKRecord>& records) {
  std::vector<std::string> texts;
  texts.reserve(records.size());
  for (const auto& record : records) texts.push_back(*recordFieldsToJSON(record.fields()));
  return texts;
}

void countRecords(benchmark::State& state) {
  state.counters["records"] = static_cast<double>(recordCount);
}

void saveNew(benchmark::State& state) {
  const auto all = ruleRecords();
  const auto texts = textsOf(all);
  std::unique_ptr<CloudMachine> machine;
  std::unique_ptr<BareTable> table;
  std::vector<CKRecord> records;
  const auto prepare = [&] {
    machine = std::make_unique<CloudMachine>();
    table = std::make_unique<BareTable>();
    records = all;
  };
  measureBeside(
      state, prepare, [&] { machine->save(records); }, [&] { table->save(texts); });
  countRecords(state);
}

/// One key of each record.
void saveAgain(benchmark::State& state) {
  auto records = ruleRecords();
  const auto texts = textsOf(records);
  CloudMachine machine;
  BareTable table;
  machine.save(records);
  table.save(texts);
  int round = 0;
  const auto prepare = [&] {
    const auto selector = fmt::format(".banner-{}", ++round);
    for (auto& record : records) record.setValue("selector", CKRecordValue(selector));
  };
  measureBeside(
      state, prepare, [&] { machine.save(records); }, [&] { table.save(texts); });
  countRecords(state);
}

void fetchAll(benchmark::State& state) {
  auto records = ruleRecords();
  CloudMachine machine;
  BareTable table;
  table.save(textsOf(records));
  machine.save(records);
  measureBeside(
      state, [] {}, [&] { check(machine.fetch() == recordCount, "Cannot fetch"); },
      [&] { check(table.fetch() == recordCount, "Cannot select"); });
  countRecords(state);
}

void registerOne(const char* name, void (*function)(benchmark::State&)) {
  benchmark::RegisterBenchmark(name, function)
      ->UseManualTime()
      ->Iterations(3)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerCloud() {
  registerOne("cloud/save/150000", saveNew);
  registerOne("cloud/saveAgain/150000", saveAgain);
  registerOne("cloud/fetch/150000", fetchAll);
}

}  // namespace orvane::benchmarks
