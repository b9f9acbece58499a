#pragma once

#include <string>

#include "Platform/AppKit/NSColor.h"

namespace orvane {

/// As CSS writes it.
std::string cssColor(const NSColor& color);

}  // namespace orvane
