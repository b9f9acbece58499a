#pragma once

#include <memory>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/Catalogue.h"
#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/NSUbiquitousKeyValueStore.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Foundation/Published.h"
#include "Platform/Platform.h"

namespace orvane {

/// Records which packages and which single rules the user has switched off, in a store that the
/// user's other programs and machines see. Any thread. What is absent or of another type in the
/// store reads as empty.
class BlockerPreferenceManager {
 public:
  static constexpr const char* disabledPackagesKey = "DisabledUserPreferenceForPackages";
  static constexpr const char* disabledRulesKey = "DisabledUserPreferenceForRules";
  static constexpr const char* storePreferencesLocallyKey = "StorePreferencesLocally";

  /// All arguments outlive the manager. Which of the two stores is used is settled here, for the
  /// life of the manager: `defaults` when its "StorePreferencesLocally" is true, otherwise the
  /// cloud key-value store of `platform`.
  BlockerPreferenceManager(Platform& platform, PersistentStore& files, NSUserDefaults& defaults,
                           const Published<Catalogue>& catalogue);

  std::vector<std::string> disabledPackageIDs();
  /// A flat list of rules, as versions before 1.2 kept it, is turned into the present form.
  DisabledRuleIDs disabledRuleIDs();

  bool userPreferenceIsDisabledForPackage(const Package& package);
  /// Removes the first occurrence of the package's id.
  void saveEnabledUserPrefenceForPackage(const Package& package);
  /// Lists the package's id unless it is listed.
  void saveDisabledUserPrefenceForPackage(const Package& package);

  std::size_t numberOfDisabledRulesInPackage(const Package& package);
  bool userPreferenceIsDisabledForRule(const Rule& rule, const Package& package);
  /// These two do not ask for a reload. True when the rule was switched off, respectively on.
  bool enableRuleSynchronouslyWithoutReload(const Rule& rule, const Package& package);
  bool disableRuleSynchronouslyWithoutReload(const Rule& rule, const Package& package);

  /// The package's rules that are switched on, respectively off.
  std::vector<Rule> filterRulesForPackage(const Package& package, bool enabled);

  /// The blockers of the catalogue as it is now, or of the files when the catalogue is empty,
  /// without what is switched off.
  std::vector<Blocker> enabledBlockers(const std::vector<std::string>& disabledPackageIDs,
                                       const DisabledRuleIDs& disabledRuleIDs);

  /// Where the preferences are kept.
  KeyValueStore& store() { return store_; }

 private:
  Platform& platform_;
  PersistentStore& files_;
  const Published<Catalogue>& catalogue_;
  KeyValueStore& store_;
};

}  // namespace orvane
