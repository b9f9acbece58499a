#pragma once

#include <optional>
#include <string>

#include "Platform/Foundation/NSBundle.h"
#include "Platform/Foundation/NSURL.h"

namespace orvane {

/// The mail link that opens a letter to the makers about that page.
std::string feedbackMailLink(const std::optional<NSURL>& currentURL, const NSBundle& mainBundle);

}  // namespace orvane
