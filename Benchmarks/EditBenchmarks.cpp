#include <algorithm>
#include <functional>

#include "Benchmarks/BenchmarkMachine.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane::benchmarks {
namespace {

using Edit = std::function<void(PersistentStore&, const PersistentStore::Completion&)>;

void edit(benchmark::State& state, const Scenario& scenario, const Edit& edit) {
  BenchmarkMachine machine(scenario);
  const auto list = machine.container() / "tmp.json";
  const auto restore = [&] { machine.replace(list, machine.list()); };
  const auto work = [&] {
    PersistentStore store(machine.platform());
    edit(store, [](const SafariJSONModificationResult& result) {
      if (result != SafariJSONModificationResult::success())
        fatalError("The list cannot be edited", "Benchmarks");
    });
  };
  const auto copy = [&] { machine.replace(list, machine.read(list)); };
  restore();
  work();
  if (machine.read(list) == machine.list()) fatalError("The edit changes nothing", "Benchmarks");
  measureBeside(state, restore, work, copy);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(machine.list().size()));
  state.counters["rules"] = static_cast<double>(machine.ruleCount());
}

void registerEdit(const Scenario& scenario, const std::string& name, const Edit& work) {
  benchmark::RegisterBenchmark(
      (name + "/" + scenario.name).c_str(),
      [&scenario, work](benchmark::State& state) { edit(state, scenario, work); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

Blocker exceptionFor(const char* domain) {
  return {{.urlFilter = ".*", .domainFilter = DomainFilter{DomainFilterType::IfDomain, {domain}}},
          *Action::make(ActionType::IgnorePreviousRules)};
}

/// A domain of the first enabled rule of the package.
std::string firstDomain(const Scenario& scenario, const Package& package) {
  const auto disabled = scenario.disabledRuleIDs.find(package.id);
  for (const auto& rule : package.rules) {
    const bool isDisabled = disabled != scenario.disabledRuleIDs.end() &&
                            std::find(disabled->second.begin(), disabled->second.end(), rule.id) !=
                                disabled->second.end();
    const auto& filter = rule.blocker.trigger.domainFilter;
    if (!isDisabled && filter && !filter->values.empty()) return filter->values.front();
  }
  return "";
}

}  // namespace

void registerEdits(const Scenario& scenario) {
  const auto blocker = exceptionFor("*site.test");
  registerEdit(scenario, "prepend", [=](auto& store, const auto& completion) {
    store.prependToSafariJSONFile(blocker, completion);
  });
  registerEdit(scenario, "append", [=](auto& store, const auto& completion) {
    store.appendToSafariJSONFile(blocker, completion);
  });
  if (const auto domain = firstDomain(scenario, scenario.configurable.front()); !domain.empty()) {
    registerEdit(scenario, "unwhitelist", [=](auto& store, const auto& completion) {
      store.unwhitelistFromSafariJSONFile(domain, completion);
    });
  }
  const auto forced = firstDomain(scenario, scenario.configurable.back());
  registerEdit(scenario, "unforceHttps", [=](auto& store, const auto& completion) {
    store.unforceHttpsFromSafariJSONFile(forced, completion);
  });
}

}  // namespace orvane::benchmarks
