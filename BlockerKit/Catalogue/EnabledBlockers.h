#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Model/Package.h"

namespace orvane {

/// The switched-off rules: package identifier to rule identifiers.
using DisabledRuleIDs = std::map<std::string, std::vector<std::string>>;

/// The blockers of all rules that are switched on, in the order of `packages` and of their rules.
/// A package whose identifier is in `disabledPackageIDs` is left out whole.
std::vector<Blocker> enabledBlockers(std::span<const Package* const> packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs);

}  // namespace orvane
