#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace orvane::benchmarks {

using Work = std::function<void()>;

/// Measures `work`, and in turn with it what it is compared with, so that both meet the same
/// machine. The result's counter "ratio" is the time of `work` by that of `comparison`, and
/// "comparison_s" the latter. `prepare` is run before each and is not measured.
void measureBeside(benchmark::State& state, const Work& prepare, const Work& work,
                   const Work& comparison);

struct NamedWork {
  std::string name;
  Work work;
};

/// The same beside several, each of which handles that many records. The counters are records per
/// second, named "records_per_s" and after the comparisons, "insert_per_s"; and the most memory
/// that this process used during `work`, "peak_MB", of which it had "before_MB" before.
void measureRates(benchmark::State& state, std::size_t recordCount, const Work& prepare,
                  const Work& work, const std::vector<NamedWork>& comparisons);

}  // namespace orvane::benchmarks
