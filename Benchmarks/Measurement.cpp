#include "Benchmarks/Measurement.h"

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

}  // namespace orvane::benchmarks
