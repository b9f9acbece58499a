#include "Benchmarks/PeakMemory.h"

#include <fstream>
#include <string>

#include <malloc.h>

#include "Benchmarks/Check.h"

namespace orvane::benchmarks {
namespace {

double megabytesOf(const std::string& line) {
  std::ifstream status("/proc/self/status");
  for (std::string name; status >> name;) {
    double kilobytes = 0;
    if (name == line && status >> kilobytes) return kilobytes / 1024;
  }
  fatalError("The system does not say how much memory it uses", "Benchmarks");
}

}  // namespace

void resetPeakMemory() {
  ::malloc_trim(0);
  std::ofstream file("/proc/self/clear_refs");
  file << '5' << std::flush;
  check(file.good(), "Cannot reset the peak of memory");
}

double peakMegabytes() { return megabytesOf("VmHWM:"); }

double residentMegabytes() { return megabytesOf("VmRSS:"); }

}  // namespace orvane::benchmarks
