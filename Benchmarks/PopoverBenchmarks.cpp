#include <chrono>
#include <string>

#include "Apps/Companion/Companion.h"
#include "Benchmarks/BenchmarkBrowser.h"
#include "Benchmarks/BenchmarkMachine.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"
#include "Linux/WebKitGTK/ListCompiler.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane::benchmarks {
namespace {

Scenario whitelistOf(std::size_t ruleCount) {
  Scenario scenario = generatedScenario(0);
  scenario.name = std::to_string(ruleCount);
  auto& rules = scenario.configurable.front().rules;
  rules.clear();
  for (std::size_t i = 0; i < ruleCount; ++i) {
    const auto domain = "site" + std::to_string(i) + ".test";
    const DomainFilter site{DomainFilterType::IfDomain, {domain}};
    const Blocker blocker{{.urlFilter = ".*", .domainFilter = site},
                          *Action::make(ActionType::IgnorePreviousRules)};
    rules.push_back({"whitelist-" + std::to_string(i), "Whitelist " + domain, blocker});
  }
  return scenario;
}

void open(benchmark::State& state) {
  const auto scenario = whitelistOf(10'000);
  BenchmarkMachine machine(scenario);
  BenchmarkBrowser browser(machine.platform());
  const auto openPopover = [&] { browser.openPopover([&] { machine.runUntilIdle(); }); };
  measureBeside(
      state, [] {}, openPopover,
      [&] {
        benchmark::DoNotOptimize(machine.read(machine.container() / "ConfigurablePackages.json"));
      });
}

/// The queues of both programs run in this thread, one task after the other; the page's delay runs
/// on a clock that costs no time.
void click(benchmark::State& state, std::size_t ruleCount) {
  const auto scenario = generatedScenario(ruleCount);
  BenchmarkMachine machine(scenario);
  Companion companion(machine.platform());
  companion.start();
  BenchmarkBrowser browser(machine.platform());
  machine.runUntilIdle();
  ListCompiler compiler(machine.container() / "CompiledLists");
  Executor::Duration delay{};
  const auto clickToMessage = [&] {
    const auto start = machine.now();
    browser.process.viewController().whitelist();
    machine.runUntilIdle();
    browser.browser.page->messages.clear();
    machine.advanceUntil([&] { return !browser.browser.page->messages.empty(); });
    delay = machine.now() - start;
  };
  const auto compile = [&] {
    const auto list = machine.read(machine.container() / "tmp.json");
    const auto compiled = compiler.compile("list", list);
    if (!compiled) fatalError(compiled.error().localizedDescription, "Benchmarks");
  };
  measureBeside(
      state, [&] { browser.openPopover([&] { machine.runUntilIdle(); }); }, clickToMessage,
      compile);
  state.counters["rules"] = static_cast<double>(machine.ruleCount());
  state.counters["delay_s"] = std::chrono::duration<double>(delay).count();
}

}  // namespace

void registerPopover() {
  benchmark::RegisterBenchmark("popover/10000", open)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
  for (const std::size_t ruleCount : {1'000U, 10'000U, 50'000U}) {
    benchmark::RegisterBenchmark(("whitelistClick/" + std::to_string(ruleCount)).c_str(),
                                 [ruleCount](auto& state) { click(state, ruleCount); })
        ->UseManualTime()
        ->Iterations(3)
        ->Unit(benchmark::kMillisecond);
  }
}

}  // namespace orvane::benchmarks
