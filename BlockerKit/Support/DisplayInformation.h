#pragma once

#include <string_view>

#include "Platform/Foundation/NSNotificationCenter.h"

namespace orvane {

/// Posted with the user info "message" (the text) and "warning" (true for a warning).
inline constexpr const char* displayInformationNotification = "DisplayInformation";

/// Asks whoever shows messages to the user to show this one. The notification is posted before the
/// call returns, on the calling thread.
void displayInformation(NSNotificationCenter& center, std::string_view message, bool warning);

}  // namespace orvane
