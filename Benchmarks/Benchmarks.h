#pragma once

#include "Benchmarks/Scenario.h"

namespace orvane::benchmarks {

// Each registers its benchmarks for one scenario, which outlives them.

/// The rebuild of the list, beside reading the same package bytes and writing the same list bytes.
void registerRebuild(const Scenario& scenario);

/// The edits of the list as text, beside a copy of the list file.
void registerEdits(const Scenario& scenario);

/// The rebuild of the list, beside the browser's own compilation of it.
void registerCompile(const Scenario& scenario);

}  // namespace orvane::benchmarks
