#pragma once

#include <string>

#include "BlockerKit/Catalogue/DataManager.h"
#include "SafariExtension/Reload/ReloadReport.h"

namespace orvane {

inline constexpr const char* contentBlockerDisabledMessage =
    "The content blocker is switched off in the browser's settings.";
inline constexpr const char* noPreinstalledPackagesMessage =
    "The pre-installed packages cannot be found; the blocker list stays as it is.";

/// Why the browser refuses a list of so many rules.
std::string tooManyRules(std::size_t count);

/// Why it cannot be told whether the content blocker is switched on.
std::string unreadableBrowserSettings(const NSError& error);

/// What went wrong with a reload, for the user; empty when nothing did. Of a list that the browser
/// refused it names the rules because of which, which it looks for in the catalogue.
std::string reloadError(const ReloadReport& report, DataManager& dataManager);

}  // namespace orvane
