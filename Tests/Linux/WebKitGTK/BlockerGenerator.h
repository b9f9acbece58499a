#pragma once

#include <string>

#include "Tests/Linux/WebKitGTK/Dice.h"

namespace orvane {

/// One element of the browser's list as JSON, good or bad.
std::string randomBlocker(Dice& dice);

}  // namespace orvane
