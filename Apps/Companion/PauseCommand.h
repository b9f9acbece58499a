#pragma once

#include "Apps/Companion/ChangeCommand.h"

namespace orvane {

/// `orvane pause` and `orvane resume`. The result is the exit status.
int runPauseCommand(LinuxPlatform& machine, const ChangeOptions& options, bool pauses);

}  // namespace orvane
