#pragma once

#include "Linux/LinuxPlatform.h"

namespace orvane {

/// `orvane rebuild`: reads the catalogue, writes the blocker list and has the browser take it.
/// Returns the exit status: 0 when the browser has the list that the packages describe (which it
/// enforces unless the user has switched the content blocker off), else 1 with the reason on
/// standard error. Needs the default main context, which runs meanwhile.
int runRebuildCommand(LinuxPlatform& machine);

}  // namespace orvane
