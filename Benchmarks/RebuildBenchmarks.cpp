#include <cstdint>

#include "Benchmarks/BenchmarkMachine.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"

namespace orvane::benchmarks {
namespace {

void rebuild(benchmark::State& state, const Scenario& scenario) {
  BenchmarkMachine machine(scenario);
  std::size_t bytes = machine.list().size();
  for (const auto& file : machine.packageFiles()) bytes += machine.read(file).size();
  const auto floor = [&] {
    for (const auto& file : machine.packageFiles()) benchmark::DoNotOptimize(machine.read(file));
    machine.replace(machine.container() / "floor.json", machine.list());
  };
  measureBeside(
      state, [] {}, [&] { machine.rebuild(); }, floor);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
  state.counters["rules"] = static_cast<double>(machine.ruleCount());
}

}  // namespace

void registerRebuild(const Scenario& scenario) {
  benchmark::RegisterBenchmark(("rebuild/" + scenario.name).c_str(),
                               [&scenario](auto& state) { rebuild(state, scenario); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace orvane::benchmarks
