#pragma once

#include "Platform/Foundation/FatalError.h"

namespace orvane::benchmarks {

/// Stops the program when something that is not measured did not work.
inline void check(bool worked, const char* message) {
  if (!worked) fatalError(message, "Benchmarks");
}

}  // namespace orvane::benchmarks
