#pragma once

#include <string>

#include "Tests/Linux/WebKitGTK/Dice.h"

namespace orvane {

/// A regular expression, good or bad; never empty.
std::string randomURLFilter(Dice& dice);

}  // namespace orvane
