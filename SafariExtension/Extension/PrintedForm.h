#pragma once

#include <string>
#include <vector>

#include "Platform/SafariServices/SFSafariExtensionHandler.h"

namespace orvane {

// How log lines show values: on one line, and long texts cut.

/// "nil" when there is none.
std::string printed(const SFSafariExtensionHandler::UserInfo& userInfo);
std::string printed(const std::vector<std::string>& list);

}  // namespace orvane
