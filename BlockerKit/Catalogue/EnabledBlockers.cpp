#include "BlockerKit/Catalogue/EnabledBlockers.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

namespace orvane {
namespace {

using IdentifierSet = std::unordered_set<std::string_view>;

IdentifierSet disabledIn(const Package& package, const DisabledRuleIDs& disabledRuleIDs) {
  const auto entry = disabledRuleIDs.find(package.id);
  if (entry == disabledRuleIDs.end()) return {};
  return {entry->second.begin(), entry->second.end()};
}

}  // namespace

std::vector<Blocker> enabledBlockers(std::span<const Package> packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs) {
  const IdentifierSet disabledPackages(disabledPackageIDs.begin(), disabledPackageIDs.end());
  std::vector<Blocker> blockers;
  for (const auto& package : packages) {
    if (disabledPackages.contains(package.id)) continue;
    const auto disabledRules = disabledIn(package, disabledRuleIDs);
    for (const auto& rule : package.rules) {
      if (!disabledRules.contains(rule.id)) blockers.push_back(rule.blocker);
    }
  }
  return blockers;
}

}  // namespace orvane
