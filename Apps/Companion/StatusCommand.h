#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// `orvane status`. The result is the exit status: 0 when blocking does what the packages and the
/// preferences say, or is paused; 1 when something is wrong, which the answer names.
int runStatusCommand(LinuxPlatform& machine, bool asJSON);

}  // namespace orvane
