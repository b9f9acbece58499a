#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// Runs the companion until it is asked to end; leaves the work to the user's other one if it runs
/// already. The result is the exit status.
int runCompanionCommand(LinuxPlatform& machine);

}  // namespace orvane
