#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "BlockerKit/Catalogue/Catalogue.h"
#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Foundation/Published.h"
#include "Platform/Platform.h"

namespace orvane {

/// Records which packages and which single rules the user has switched off, in a store that the
/// user's other programs and machines see. Any thread. What is absent or of another type in the
/// store reads as empty.
///
/// A change is one transaction with the reading that it is based on, so that changes of several
/// processes are all kept, and it is posted as "WillSaveUserPreference" and
/// "DidSaveUserPreference". The operations that change something return false when it could not be
/// stored; the system log says why.
class BlockerPreferenceManager {
 public:
  struct DisabledIDs {
    std::vector<std::string> packages;
    DisabledRuleIDs rules;
  };

  static constexpr const char* disabledPackagesKey = "DisabledUserPreferenceForPackages";
  static constexpr const char* disabledRulesKey = "DisabledUserPreferenceForRules";
  static constexpr const char* storePreferencesLocallyKey = "StorePreferencesLocally";
  static constexpr const char* willSaveNotification = "WillSaveUserPreference";
  static constexpr const char* didSaveNotification = "DidSaveUserPreference";

  /// All arguments outlive the manager. Which of two stores is used is settled here, for the life
  /// of the manager: `defaults` when its "StorePreferencesLocally" is true, otherwise the cloud
  /// key-value store of `platform`.
  BlockerPreferenceManager(Platform& platform, PersistentStore& files, NSUserDefaults& defaults,
                           const Published<Catalogue>& catalogue);

  std::vector<std::string> disabledPackageIDs();
  /// A flat list of rules, as versions before 1.2 kept it, is turned into the present form.
  DisabledRuleIDs disabledRuleIDs();

  /// Both of these at once; an error when the store cannot be read now, which says nothing about
  /// what is switched off.
  Expected<DisabledIDs> readDisabledIDs();

  bool userPreferenceIsDisabledForPackage(const Package& package);
  /// Removes the first occurrence of the package's id.
  bool saveEnabledUserPrefenceForPackage(const Package& package);
  /// Lists the package's id unless it is listed.
  bool saveDisabledUserPrefenceForPackage(const Package& package);

  std::size_t numberOfDisabledRulesInPackage(const Package& package);
  bool userPreferenceIsDisabledForRule(const Rule& rule, const Package& package);
  /// True when the rule was switched off, and now is on. Does not ask for a reload.
  bool enableRuleSynchronouslyWithoutReload(const Rule& rule, const Package& package);
  /// True when the rule was switched on, and now is off. Does not ask for a reload.
  bool disableRuleSynchronouslyWithoutReload(const Rule& rule, const Package& package);

  /// The package's rules that are switched on, respectively off.
  std::vector<Rule> filterRulesForPackage(const Package& package, bool enabled);

  /// The blockers of the catalogue as it is now, without what is switched off. Lists that this
  /// process has not loaded are read from their files.
  std::vector<Blocker> enabledBlockers(const std::vector<std::string>& disabledPackageIDs,
                                       const DisabledRuleIDs& disabledRuleIDs);

 private:
  Catalogue currentCatalogue();
  DisabledRuleIDs migrate(const std::vector<std::string>& ruleIDs);

  bool persistPackagePreference(const std::function<void(std::vector<std::string>&)>& edit);
  /// `change` tells whether it has changed something.
  bool changeRulePreference(const Package& package,
                            const std::function<bool(std::vector<std::string>&)>& change);
  bool persistRulePreference(const std::function<bool(DisabledRuleIDs&)>& edit);
  bool persist(std::string_view key,
               const std::function<KeyValueStore::Value(KeyValueStore::Value)>& edit);

  Platform& platform_;
  PersistentStore& files_;
  const Published<Catalogue>& catalogue_;
  KeyValueStore& store_;
};

}  // namespace orvane
