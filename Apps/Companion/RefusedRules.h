#pragma once

#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Model/Package.h"

namespace orvane {

/// A line for each thing because of which the browser refuses a rule of the catalogue: which rule
/// it is, and why.
std::vector<std::string> refusedRules(std::span<const Package> catalogue);

}  // namespace orvane
