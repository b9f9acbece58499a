#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// Says how the packages of the user's machines are kept the same: the account, what waits to be
/// sent, what was done last and what has failed. The result is the exit status.
int runSyncCommand(LinuxPlatform& machine, bool asJSON);

/// Has the companion, which is started if it does not run, send and fetch everything, and waits for
/// that, for `timeout` seconds at the most. The result is the exit status.
int runSyncNowCommand(LinuxPlatform& machine, bool asJSON, unsigned timeout);

}  // namespace orvane
