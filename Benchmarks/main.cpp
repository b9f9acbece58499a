#include <cstdlib>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "Benchmarks/Benchmarks.h"

int main(int argc, char** argv) {
  using namespace orvane::benchmarks;
  if (argc == 3 && std::string_view(argv[1]) == echoDefaultsOption) return echoDefaults(argv[2]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  std::vector<Scenario> scenarios;
  for (const std::size_t ruleCount : {1'000U, 10'000U, 150'000U}) {
    scenarios.push_back(generatedScenario(ruleCount));
  }
  if (const char* list = std::getenv("ORVANE_BENCHMARK_LIST")) {
    scenarios.push_back(scenarioFromList(list));
  }
  for (const auto& scenario : scenarios) registerRebuild(scenario);
  for (const auto& scenario : scenarios) registerChange(scenario);
  for (const auto& scenario : scenarios) registerEdits(scenario);
  registerDefaults();
  registerQueue();
  for (const std::size_t recordCount : {10'000U, 150'000U}) {
    registerCloud(recordCount);
    registerPostgreSQL(recordCount);
  }
  for (const std::size_t ruleCount : {1'000U, 10'000U, 140'000U}) registerSync(ruleCount);
  for (const std::size_t ruleCount : {10'000U, 140'000U}) registerDeletions(ruleCount);
  for (const std::size_t ruleCount : {100U, 1'000U, 5'000U}) registerRestoredSync(ruleCount);
#ifdef ORVANE_DESKTOP
  registerPopover();
  registerTwoMachines();
  for (const auto& scenario : scenarios) registerCompile(scenario);
#endif
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
