#include "BlockerKit/Catalogue/EnabledBlockers.h"

#include <string_view>
#include <unordered_set>
#include <utility>

namespace orvane {
namespace {

using IdentifierSet = std::unordered_set<std::string_view>;

IdentifierSet disabledIn(const Package& package, const DisabledRuleIDs& disabledRuleIDs) {
  const auto entry = disabledRuleIDs.find(package.id);
  if (entry == disabledRuleIDs.end()) return {};
  return {entry->second.begin(), entry->second.end()};
}

std::size_t ruleCount(std::span<const Package> packages) {
  std::size_t count = 0;
  for (const auto& package : packages) count += package.rules.size();
  return count;
}

/// Calls `take` for each rule that is switched on.
template <typename Packages, typename Take>
void forEachEnabledRule(Packages& packages, const std::vector<std::string>& disabledPackageIDs,
                        const DisabledRuleIDs& disabledRuleIDs, const Take& take) {
  const IdentifierSet disabledPackages(disabledPackageIDs.begin(), disabledPackageIDs.end());
  for (auto& package : packages) {
    if (disabledPackages.contains(package.id)) continue;
    const auto disabledRules = disabledIn(package, disabledRuleIDs);
    for (auto& rule : package.rules) {
      if (!disabledRules.contains(rule.id)) take(rule);
    }
  }
}

}  // namespace

std::vector<Blocker> enabledBlockers(std::span<const Package> packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs) {
  std::vector<Blocker> blockers;
  blockers.reserve(ruleCount(packages));
  forEachEnabledRule(packages, disabledPackageIDs, disabledRuleIDs,
                     [&](const Rule& rule) { blockers.push_back(rule.blocker); });
  return blockers;
}

std::vector<Blocker> enabledBlockers(std::vector<Package>&& packages,
                                     const std::vector<std::string>& disabledPackageIDs,
                                     const DisabledRuleIDs& disabledRuleIDs) {
  std::vector<Blocker> blockers;
  blockers.reserve(ruleCount(packages));
  forEachEnabledRule(packages, disabledPackageIDs, disabledRuleIDs,
                     [&](Rule& rule) { blockers.push_back(std::move(rule.blocker)); });
  return blockers;
}

}  // namespace orvane
