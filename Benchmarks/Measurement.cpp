#include "Benchmarks/Measurement.h"

#include <algorithm>
#include <map>

#include "Benchmarks/PeakMemory.h"
#include "BlockerKit/Support/Stopwatch.h"

namespace orvane::benchmarks {
namespace {

double secondsOf(const Work& work) {
  Stopwatch stopwatch;
  stopwatch.start();
  work();
  stopwatch.stop();
  return stopwatch.elapsed();
}

}  // namespace

void measureBeside(benchmark::State& state, const Work& prepare, const Work& work,
                   const Work& comparison) {
  double worked = 0;
  double compared = 0;
  for ([[maybe_unused]] auto iteration : state) {
    prepare();
    compared += secondsOf(comparison);
    prepare();
    const double seconds = secondsOf(work);
    worked += seconds;
    state.SetIterationTime(seconds);
  }
  state.counters["comparison_s"] = compared / static_cast<double>(state.iterations());
  state.counters["ratio"] = worked / compared;
}

void measureRates(benchmark::State& state, std::size_t recordCount, const Work& prepare,
                  const Work& work, const std::vector<NamedWork>& comparisons) {
  std::map<std::string, double> seconds;
  double before = 0;
  double peak = 0;
  for ([[maybe_unused]] auto iteration : state) {
    for (const auto& comparison : comparisons) {
      prepare();
      seconds[comparison.name] += secondsOf(comparison.work);
    }
    prepare();
    resetPeakMemory();
    before = std::max(before, residentMegabytes());
    const double worked = secondsOf(work);
    peak = std::max(peak, peakMegabytes());
    seconds["records"] += worked;
    state.SetIterationTime(worked);
  }
  const auto handled = static_cast<double>(recordCount) * static_cast<double>(state.iterations());
  for (const auto& [name, taken] : seconds) state.counters[name + "_per_s"] = handled / taken;
  state.counters["before_MB"] = before;
  state.counters["peak_MB"] = peak;
}

}  // namespace orvane::benchmarks
