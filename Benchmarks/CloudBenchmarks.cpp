#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Check.h"
#include "Benchmarks/Measurement.h"
#include "Benchmarks/RuleRecords.h"
#include "Linux/SQLite/SQLiteCloud.h"
#include "Linux/SQLite/SQLiteConnection.h"
#include "Linux/SQLite/SQLiteStatement.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::benchmarks {
namespace {

constexpr int busyTimeout = 5000;

/// A new cloud in a file.
class CloudMachine {
 public:
  CloudMachine() { check(cloud_.saveZone(ruleZone, {}).has_value(), "Cannot save a zone"); }

  SQLiteCloud& cloud() { return cloud_; }

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
      if (index % cloudBatchSize == 0) execute("BEGIN IMMEDIATE");
      SQLiteRun run(*upsert_, ruleRecordName(index), ++tag_, texts[index]);
      check(run.finish(), "Cannot insert");
      if (index % cloudBatchSize == cloudBatchSize - 1 || index + 1 == texts.size())
        execute("COMMIT");
    }
  }

  std::size_t fetch() {
    std::size_t count = 0;
    std::int64_t last = 0;
    for (std::size_t before = 1; count != before;) {
      before = count;
      SQLiteRun run(*select_, last, std::int64_t{cloudPageSize});
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

void countRecords(benchmark::State& state, std::size_t count) {
  state.counters["records"] = static_cast<double>(count);
}

void saveNew(benchmark::State& state, std::size_t count) {
  const auto all = ruleRecords(count);
  const auto texts = fieldsOf(all);
  std::unique_ptr<CloudMachine> machine;
  std::unique_ptr<BareTable> table;
  std::vector<CKRecord> records;
  const auto prepare = [&] {
    machine = std::make_unique<CloudMachine>();
    table = std::make_unique<BareTable>();
    records = all;
  };
  measureBeside(
      state, prepare, [&] { saveInBatches(machine->cloud(), records); },
      [&] { table->save(texts); });
  countRecords(state, count);
}

/// One key of each record.
void saveAgain(benchmark::State& state, std::size_t count) {
  auto records = ruleRecords(count);
  const auto texts = fieldsOf(records);
  CloudMachine machine;
  BareTable table;
  saveInBatches(machine.cloud(), records);
  table.save(texts);
  int round = 0;
  const auto prepare = [&] {
    const auto selector = fmt::format(".banner-{}", ++round);
    for (auto& record : records) record.setValue("selector", CKRecordValue(selector));
  };
  measureBeside(
      state, prepare, [&] { saveInBatches(machine.cloud(), records); }, [&] { table.save(texts); });
  countRecords(state, count);
}

void fetchAll(benchmark::State& state, std::size_t count) {
  auto records = ruleRecords(count);
  CloudMachine machine;
  BareTable table;
  table.save(fieldsOf(records));
  saveInBatches(machine.cloud(), records);
  measureBeside(
      state, [] {}, [&] { check(fetchInPages(machine.cloud()) == count, "Cannot fetch"); },
      [&] { check(table.fetch() == count, "Cannot select"); });
  countRecords(state, count);
}

void registerOne(const char* name, std::size_t count,
                 void (*function)(benchmark::State&, std::size_t)) {
  benchmark::RegisterBenchmark(fmt::format("cloud/{}/{}", name, count).c_str(), function, count)
      ->UseManualTime()
      ->Iterations(3)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerCloud(std::size_t recordCount) {
  registerOne("save", recordCount, saveNew);
  registerOne("saveAgain", recordCount, saveAgain);
  registerOne("fetch", recordCount, fetchAll);
}

}  // namespace orvane::benchmarks
