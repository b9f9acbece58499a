#pragma once

#include <string>

#include "Apps/Companion/ChangeCommand.h"

namespace orvane {

/// What is to be switched; without a rule, the package.
struct Switched {
  std::string package;
  std::string rule;
};

/// `orvane enable` and `orvane disable`. The result is the exit status.
int runSwitchCommand(LinuxPlatform& machine, const ChangeOptions& options, const Switched& switched,
                     bool enables);

}  // namespace orvane
