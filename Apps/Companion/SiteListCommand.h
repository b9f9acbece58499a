#pragma once

#include <string>
#include <vector>

#include "Apps/Companion/ChangeCommand.h"
#include "Apps/Companion/SiteList.h"

namespace orvane {

// `orvane whitelist` and `orvane https`. The results are exit statuses.

/// All sites are checked before the first is added; each gets a rule of its own.
int runSiteAddCommand(LinuxPlatform& machine, const ChangeOptions& options, const SiteList& list,
                      const std::vector<std::string>& sites);

/// All sites are looked up before the first is removed.
int runSiteRemoveCommand(LinuxPlatform& machine, const ChangeOptions& options, const SiteList& list,
                         const std::vector<std::string>& sites);

int runSiteListCommand(LinuxPlatform& machine, const SiteList& list, bool asJSON);

}  // namespace orvane
