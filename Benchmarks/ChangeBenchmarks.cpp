#include <string>
#include <vector>

#include "Apps/Companion/Companion.h"
#include "Benchmarks/BenchmarkMachine.h"
#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Measurement.h"

namespace orvane::benchmarks {
namespace {

/// Whitelists another site each time, as the extension does.
class Extension {
 public:
  explicit Extension(BenchmarkMachine& machine)
      : store_(machine.platform()), packages_(store_.readConfigurablePackages()) {}

  void whitelistAnother() {
    auto& whitelist = packages_.front();
    const DomainFilter site{DomainFilterType::IfDomain,
                            {"site" + std::to_string(++count_) + ".test"}};
    whitelist = whitelist.packageBySettingRule({"benchmark",
                                                "",
                                                {{.urlFilter = ".*", .domainFilter = site},
                                                 *Action::make(ActionType::IgnorePreviousRules)}});
    store_.writePackages(packages_, PackageType::ConfigurablePackages);
  }

 private:
  PersistentStore store_;
  std::vector<Package> packages_;
  int count_ = 0;
};

/// All queues run in this thread, one task after the other, so that nothing is hidden behind
/// another processor; the browser answers at once.
void change(benchmark::State& state, const Scenario& scenario) {
  BenchmarkMachine machine(scenario);
  Extension extension(machine);
  Companion companion(machine.platform());
  companion.start();
  machine.runUntilIdle();
  const auto list = machine.read(machine.container() / "tmp.json");
  Communication communication(machine.platform(), machine.sharedDefaults());
  measureBeside(
      state, [&] { extension.whitelistAnother(); },
      [&] {
        communication.send(Communication::Message::reloadRulesFromDisk);
        machine.runUntilIdle();
      },
      [&] { machine.replace(machine.container() / "floor.json", list); });
  state.counters["rules"] = static_cast<double>(machine.ruleCount());
}

}  // namespace

void registerChange(const Scenario& scenario) {
  benchmark::RegisterBenchmark(("change/" + scenario.name).c_str(),
                               [&scenario](auto& state) { change(state, scenario); })
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

}  // namespace orvane::benchmarks
