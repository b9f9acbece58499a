#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Check.h"
#include "Benchmarks/DelayingProxy.h"
#include "Benchmarks/Measurement.h"
#include "Benchmarks/PostgreSQLTable.h"
#include "Benchmarks/RuleRecords.h"
#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Tests/Linux/PostgreSQL/PrivateCluster.h"

namespace orvane::benchmarks {
namespace {

using std::chrono::milliseconds;
using test::PrivateCluster;

/// How the server is reached.
struct Way {
  const char* name;
  PrivateCluster::Network network;
  /// Of each direction.
  milliseconds delay;
  int iterations;
};

constexpr Way socketFile{"postgresql", PrivateCluster::Network::none, milliseconds(0), 3};
constexpr Way network20ms{"postgresql20ms", PrivateCluster::Network::encrypted, milliseconds(10),
                          1};

/// A server with a new cloud, and two tables to compare it with.
class ServerMachine {
 public:
  explicit ServerMachine(const Way& way) : cluster_(way.network) {
    if (way.network != PrivateCluster::Network::none) proxy_.emplace(cluster_.port(), way.delay);
    auto admin = PostgreSQLConnection::open(address("postgres"), {}, 0, {});
    check(admin && installCloud(*admin, {}) && addCloudUser(*admin, "alice", std::nullopt, {}),
          "There is no cloud");
    cloud_.emplace(address("alice"), "device");
    check(cloud_->saveZone(ruleZone, {}).has_value(), "Cannot save a zone");
    inserted_.emplace(address("postgres"), "inserted");
    copied_.emplace(address("postgres"), "copied");
  }

  PostgreSQLCloud& cloud() { return *cloud_; }
  PostgreSQLTable& inserted() { return *inserted_; }
  PostgreSQLTable& copied() { return *copied_; }

 private:
  std::string address(const std::string& role) const {
    if (!proxy_) return cluster_.connectionString(role);
    return fmt::format("host=127.0.0.1 port={} user={} dbname=postgres sslmode=require",
                       proxy_->port(), role);
  }

  PrivateCluster cluster_;
  std::optional<DelayingProxy> proxy_;
  std::optional<PostgreSQLCloud> cloud_;
  std::optional<PostgreSQLTable> inserted_;
  std::optional<PostgreSQLTable> copied_;
};

void noteRoundTrip(benchmark::State& state, ServerMachine& machine) {
  state.counters["roundtrip_ms"] = machine.inserted().roundTripMilliseconds();
}

void saveNew(benchmark::State& state, const Way& way, std::size_t count) {
  const auto all = ruleRecords(count);
  const auto fields = fieldsOf(all);
  std::optional<ServerMachine> machine;
  std::vector<CKRecord> records;
  const auto prepare = [&] {
    machine.emplace(way);
    records = all;
  };
  measureRates(state, count, prepare, [&] { saveInBatches(machine->cloud(), records); },
               {{"insert", [&] { machine->inserted().insert(fields); }},
                {"copy", [&] { machine->copied().copyIn(fields); }}});
  noteRoundTrip(state, *machine);
}

/// One key of each record.
void saveAgain(benchmark::State& state, const Way& way, std::size_t count) {
  auto records = ruleRecords(count);
  const auto fields = fieldsOf(records);
  ServerMachine machine(way);
  saveInBatches(machine.cloud(), records);
  machine.inserted().copyIn(fields);
  machine.copied().copyIn(fields);
  int round = 0;
  const auto prepare = [&] {
    const auto selector = fmt::format(".banner-{}", ++round);
    for (auto& record : records) record.setValue("selector", CKRecordValue(selector));
  };
  measureRates(state, count, prepare, [&] { saveInBatches(machine.cloud(), records); },
               {{"insert", [&] { machine.inserted().insertAgain(fields); }},
                {"copy", [&] { machine.copied().copyInAgain(fields); }}});
  noteRoundTrip(state, machine);
}

void fetchAll(benchmark::State& state, const Way& way, std::size_t count) {
  ServerMachine machine(way);
  {
    auto records = ruleRecords(count);
    machine.inserted().copyIn(fieldsOf(records));
    saveInBatches(machine.cloud(), records);
  }
  const auto expectAll = [&](std::size_t found) { check(found == count, "Cannot fetch"); };
  measureRates(
      state, count, [] {}, [&] { expectAll(fetchInPages(machine.cloud())); },
      {{"select", [&] { expectAll(machine.inserted().select()); }},
       {"copy", [&] { expectAll(machine.inserted().copyOut()); }}});
  noteRoundTrip(state, machine);
}

using Benchmark = void (*)(benchmark::State&, const Way&, std::size_t);

void registerOne(const char* name, const Way& way, std::size_t count, Benchmark function) {
  benchmark::RegisterBenchmark(fmt::format("{}/{}/{}", way.name, name, count).c_str(), function,
                               way, count)
      ->UseManualTime()
      ->Iterations(way.iterations)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

void registerPostgreSQL(std::size_t recordCount) {
  for (const auto& way : {socketFile, network20ms}) {
    registerOne("save", way, recordCount, saveNew);
    registerOne("saveAgain", way, recordCount, saveAgain);
    registerOne("fetch", way, recordCount, fetchAll);
  }
}

}  // namespace orvane::benchmarks
