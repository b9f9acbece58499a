#include "BlockerKit/Catalogue/EnabledBlockers.h"

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

std::size_t ruleCount(std::span<const Package* const> packages) {
  std::size_t count = 0;
  for (const auto* package : packages) count += package->rules.size();
  return count;
}

}  // namespace

std::vector<Blocker> enabledBlockers(std::span<const Package* const> packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs) {
  std::vector<Blocker> blockers;
  blockers.reserve(ruleCount(packages));
  const IdentifierSet disabledPackages(disabledPackageIDs.begin(), disabledPackageIDs.end());
  for (const auto* package : packages) {
    if (disabledPackages.contains(package->id)) continue;
    const auto disabledRules = disabledIn(*package, disabledRuleIDs);
    for (const auto& rule : package->rules) {
      if (!disabledRules.contains(rule.id)) blockers.push_back(rule.blocker);
    }
  }
  return blockers;
}

}  // namespace orvane
