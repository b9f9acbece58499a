#include "Apps/Companion/RefusedRules.h"

#include <string_view>
#include <unordered_set>

#include <fmt/format.h>

#include "Apps/Companion/Printable.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"

namespace orvane {
namespace {

std::vector<Finding> errorsOf(const Rule& rule) {
  auto findings = lintContentBlocker(rule.blocker).findings;
  std::erase_if(findings, [](auto& finding) { return finding.severity != Severity::Error; });
  return findings;
}

using IdentifierSet = std::unordered_set<std::string_view>;

IdentifierSet disabledIn(const Package& package, const DisabledRuleIDs& disabledRuleIDs) {
  const auto entry = disabledRuleIDs.find(package.id);
  if (entry == disabledRuleIDs.end()) return {};
  return {entry->second.begin(), entry->second.end()};
}

}  // namespace

std::vector<std::string> refusedRules(std::span<const Package* const> catalogue,
                                      const std::vector<std::string>& disabledPackageIDs,
                                      const DisabledRuleIDs& disabledRuleIDs) {
  std::vector<std::string> lines;
  const IdentifierSet disabledPackages(disabledPackageIDs.begin(), disabledPackageIDs.end());
  for (const auto* package : catalogue) {
    if (disabledPackages.contains(package->id)) continue;
    const auto disabledRules = disabledIn(*package, disabledRuleIDs);
    for (const auto& rule : package->rules) {
      if (disabledRules.contains(rule.id)) continue;
      for (const auto& finding : errorsOf(rule)) {
        lines.push_back(printable(fmt::format("package {}, rule {} ({}): {}{}{}", package->id,
                                              rule.id, rule.name, finding.key,
                                              finding.key.empty() ? "" : ": ", finding.reason)));
      }
    }
  }
  return lines;
}

}  // namespace orvane
