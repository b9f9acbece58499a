#pragma once

#include <string>

#include "Tests/Linux/WebKitGTK/Dice.h"

namespace orvane {

/// A CSS selector list, good or bad.
std::string randomSelector(Dice& dice);

}  // namespace orvane
