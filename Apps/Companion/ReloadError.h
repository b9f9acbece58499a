#pragma once

#include <string>

#include "BlockerKit/Catalogue/DataManager.h"
#include "SafariExtension/Reload/ReloadReport.h"

namespace orvane {

inline constexpr const char* contentBlockerDisabledMessage =
    "The content blocker is switched off in the browser's settings.";
inline constexpr const char* noPreinstalledPackagesMessage =
    "The pre-installed packages cannot be found; the blocker list stays as it is.";

/// What went wrong with a reload, for the user; empty when nothing did. Of a list that the browser
/// refused it names the rules because of which, which it looks for in the catalogue.
std::string reloadError(const ReloadReport& report, DataManager& dataManager);

}  // namespace orvane
