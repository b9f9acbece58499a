#include "Benchmarks/BenchmarkMachine.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"
#include "Linux/WebKitGTK/ListCompiler.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane::benchmarks {
namespace {

void compile(benchmark::State& state, const Scenario& scenario) {
  BenchmarkMachine machine(scenario);
  ListCompiler compiler(machine.container() / "CompiledLists");
  const auto browser = [&] {
    const auto compiled = compiler.compile("list", machine.list());
    if (!compiled) fatalError(compiled.error().localizedDescription, "Benchmarks");
  };
  measureBeside(
      state, [] {}, [&] { machine.rebuild(); }, browser);
  state.counters["rules"] = static_cast<double>(machine.ruleCount());
}

}  // namespace

void registerCompile(const Scenario& scenario) {
  benchmark::RegisterBenchmark(("rebuildBesideBrowser/" + scenario.name).c_str(),
                               [&scenario](auto& state) { compile(state, scenario); })
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace orvane::benchmarks
