#pragma once

#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "BlockerKit/Model/Package.h"

namespace orvane {

/// A line for each thing because of which the browser refuses a rule of the catalogue: which rule
/// it is, and why. What is switched off is not in the browser's list, so it is not looked at.
std::vector<std::string> refusedRules(std::span<const Package* const> catalogue,
                                      const std::vector<std::string>& disabledPackageIDs,
                                      const DisabledRuleIDs& disabledRuleIDs);

}  // namespace orvane
