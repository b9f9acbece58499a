#include "Apps/Companion/RuleSwitches.h"

namespace orvane {

RuleSwitches::RuleSwitches(BlockerPreferenceManager& preferences, const Package& package)
    : isPackageEnabled_(!preferences.userPreferenceIsDisabledForPackage(package)) {
  auto disabled = preferences.disabledRuleIDs();
  const auto entry = disabled.find(package.id);
  if (entry != disabled.end()) disabledRules_.insert(entry->second.begin(), entry->second.end());
}

}  // namespace orvane
