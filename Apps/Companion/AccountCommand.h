#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// `orvane account`: which cloud the user has chosen, how, and whether it works; in words what is
/// wrong and who can help. Fails when the cloud cannot be used. Waits for the server.
int runAccountCommand(LinuxPlatform& machine, bool asJSON);

}  // namespace orvane
