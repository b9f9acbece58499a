#pragma once

#include <functional>

#include <benchmark/benchmark.h>

namespace orvane::benchmarks {

using Work = std::function<void()>;

/// Measures `work`, and in turn with it what it is compared with, so that both meet the same
/// machine. The result's counter "ratio" is the time of `work` by that of `comparison`, and
/// "comparison_s" the latter. `prepare` is run before each and is not measured.
void measureBeside(benchmark::State& state, const Work& prepare, const Work& work,
                   const Work& comparison);

}  // namespace orvane::benchmarks
