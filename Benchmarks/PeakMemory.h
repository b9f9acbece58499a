#pragma once

namespace orvane::benchmarks {

/// From now on the peak is counted anew, and without what is free.
void resetPeakMemory();

/// The most of this process that has been in memory since then.
double peakMegabytes();
/// How much of this process is in memory.
double residentMegabytes();

}  // namespace orvane::benchmarks
