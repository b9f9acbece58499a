#pragma once

#include <string>
#include <unordered_set>

#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"

namespace orvane {

/// Which rules of a package are in the browser's list, as of one reading of the preferences: for
/// whoever asks about all of them.
class RuleSwitches {
 public:
  RuleSwitches(BlockerPreferenceManager& preferences, const Package& package);

  /// False also for every rule of a package that is switched off.
  bool isEnabled(const Rule& rule) const {
    return isPackageEnabled_ && !disabledRules_.contains(rule.id);
  }

 private:
  bool isPackageEnabled_;
  std::unordered_set<std::string> disabledRules_;
};

}  // namespace orvane
