#pragma once

#include <string>
#include <vector>

#include "Apps/Companion/ChangeCommand.h"

namespace orvane {

/// What is hidden, and where: on some sites, or on all but some, or on all. One of the lists of
/// sites is empty.
struct Hidden {
  std::string selector;
  std::vector<std::string> on;
  std::vector<std::string> except;
};

// `orvane hide`. The results are exit statuses.

int runHideAddCommand(LinuxPlatform& machine, const ChangeOptions& options, const Hidden& hidden);

/// Removes the rule with that id, or else the one rule with that selector; the sites, if there are
/// any, have to be the rule's.
int runHideRemoveCommand(LinuxPlatform& machine, const ChangeOptions& options,
                         const Hidden& hidden);

int runHideListCommand(LinuxPlatform& machine, bool asJSON);

}  // namespace orvane
