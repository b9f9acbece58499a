#include "BlockerKit/Catalogue/BlockerPreferenceManager.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

bool contains(const Strings& strings, const std::string& string) {
  return std::find(strings.begin(), strings.end(), string) != strings.end();
}

Strings stringsOrNone(const KeyValueStore::Value& value) {
  return value ? stringsOf(*value).value_or(Strings()) : Strings();
}

/// The flat list of rules that versions before 1.2 kept.
std::optional<Strings> oldForm(const KeyValueStore::Value& value) {
  auto strings = stringsOrNone(value);
  if (strings.empty()) return std::nullopt;
  return strings;
}

DisabledRuleIDs presentForm(const KeyValueStore::Value& value) {
  const auto* dictionary = value ? value->as<PropertyListValue::Dictionary>() : nullptr;
  if (dictionary == nullptr) return {};
  DisabledRuleIDs result;
  for (const auto& [package, rules] : *dictionary) {
    auto strings = stringsOf(rules);
    if (!strings) return {};
    result.emplace(package, std::move(*strings));
  }
  return result;
}

KeyValueStore::Value toPropertyList(const DisabledRuleIDs& disabled) {
  PropertyListValue::Dictionary dictionary;
  for (const auto& [package, rules] : disabled) {
    dictionary.emplace(package, orvane::toPropertyList(rules));
  }
  return dictionary;
}

/// The first package that holds each rule.
std::unordered_map<std::string_view, const Package*> packagesByRule(
    const std::vector<const Package*>& packages) {
  std::unordered_map<std::string_view, const Package*> result;
  for (const auto* package : packages) {
    for (const auto& rule : package->rules) result.try_emplace(rule.id, package);
  }
  return result;
}

}  // namespace

BlockerPreferenceManager::BlockerPreferenceManager(Platform& platform, PersistentStore& files,
                                                   NSUserDefaults& defaults,
                                                   const Published<Catalogue>& catalogue)
    : platform_(platform),
      files_(files),
      catalogue_(catalogue),
      store_(defaults.boolForKey(storePreferencesLocallyKey) ? static_cast<KeyValueStore&>(defaults)
                                                             : platform.ubiquitousStore) {}

std::vector<std::string> BlockerPreferenceManager::disabledPackageIDs() {
  return stringsOrNone(store_.object(disabledPackagesKey));
}

DisabledRuleIDs BlockerPreferenceManager::disabledRuleIDs() {
  while (true) {
    const auto value = store_.object(disabledRulesKey);
    const auto old = oldForm(value);
    if (!old) return presentForm(value);
    auto migrated = migrate(*old);
    // Another process may have changed the list since it was read, or have migrated it.
    bool isSame = true;
    const bool isStored = persist(disabledRulesKey, [&](KeyValueStore::Value now) {
      isSame = now == value;
      return isSame ? toPropertyList(migrated) : std::move(now);
    });
    if (isSame || !isStored) return migrated;
  }
}

DisabledRuleIDs BlockerPreferenceManager::migrate(const std::vector<std::string>& ruleIDs) {
  platform_.standardOutput.print("migrating from pre v1.2 way of handling disabled rules");
  const auto catalogue = currentCatalogue();
  const auto packages = packagesByRule(catalogue.packages());
  DisabledRuleIDs migrated;
  for (const auto& ruleID : ruleIDs) {
    const auto holder = packages.find(ruleID);
    if (holder != packages.end()) {
      migrated[holder->second->id].push_back(ruleID);
    } else {
      platform_.standardOutput.print(fmt::format("can't find package ID for {}", ruleID));
    }
  }
  return migrated;
}

Expected<BlockerPreferenceManager::DisabledIDs> BlockerPreferenceManager::readDisabledIDs() {
  const auto packages = store_.read(disabledPackagesKey);
  if (!packages) return tl::unexpected(packages.error());
  const auto rules = store_.read(disabledRulesKey);
  if (!rules) return tl::unexpected(rules.error());
  return DisabledIDs{stringsOrNone(*packages),
                     oldForm(*rules) ? disabledRuleIDs() : presentForm(*rules)};
}

bool BlockerPreferenceManager::userPreferenceIsDisabledForPackage(const Package& package) {
  return contains(disabledPackageIDs(), package.id);
}

bool BlockerPreferenceManager::saveEnabledUserPrefenceForPackage(const Package& package) {
  return persistPackagePreference([&](Strings& disabled) {
    const auto found = std::find(disabled.begin(), disabled.end(), package.id);
    if (found != disabled.end()) disabled.erase(found);
  });
}

bool BlockerPreferenceManager::saveDisabledUserPrefenceForPackage(const Package& package) {
  return persistPackagePreference([&](Strings& disabled) {
    if (!contains(disabled, package.id)) disabled.push_back(package.id);
  });
}

std::size_t BlockerPreferenceManager::numberOfDisabledRulesInPackage(const Package& package) {
  const auto disabled = disabledRuleIDs();
  const auto entry = disabled.find(package.id);
  return entry == disabled.end() ? 0 : entry->second.size();
}

bool BlockerPreferenceManager::userPreferenceIsDisabledForRule(const Rule& rule,
                                                               const Package& package) {
  const auto disabled = disabledRuleIDs();
  const auto entry = disabled.find(package.id);
  return entry != disabled.end() && contains(entry->second, rule.id);
}

bool BlockerPreferenceManager::enableRuleSynchronouslyWithoutReload(const Rule& rule,
                                                                    const Package& package) {
  return changeRulePreference(package,
                              [&](Strings& disabled) { return std::erase(disabled, rule.id) > 0; });
}

bool BlockerPreferenceManager::disableRuleSynchronouslyWithoutReload(const Rule& rule,
                                                                     const Package& package) {
  return changeRulePreference(package, [&](Strings& disabled) {
    if (contains(disabled, rule.id)) return false;
    disabled.push_back(rule.id);
    return true;
  });
}

std::vector<Rule> BlockerPreferenceManager::filterRulesForPackage(const Package& package,
                                                                  bool enabled) {
  const auto ids = disabledRuleIDs()[package.id];
  const std::unordered_set<std::string_view> disabled(ids.begin(), ids.end());
  std::vector<Rule> rules;
  std::copy_if(package.rules.begin(), package.rules.end(), std::back_inserter(rules),
               [&](const Rule& rule) { return disabled.contains(rule.id) != enabled; });
  return rules;
}

std::vector<Blocker> BlockerPreferenceManager::enabledBlockers(
    const std::vector<std::string>& disabledPackageIDs, const DisabledRuleIDs& disabledRuleIDs) {
  const auto catalogue = currentCatalogue();
  return orvane::enabledBlockers(catalogue.packages(), disabledPackageIDs, disabledRuleIDs);
}

/// The pre-installed packages are never loaded by a process that does not build the list.
Catalogue BlockerPreferenceManager::currentCatalogue() {
  auto catalogue = catalogue_.get()->loaded(files_);
  if (catalogue.preinstalled->empty()) {
    catalogue.preinstalled = share(files_.readPreinstalledPackages());
  }
  return catalogue;
}

bool BlockerPreferenceManager::changeRulePreference(
    const Package& package, const std::function<bool(std::vector<std::string>&)>& change) {
  // Migrates the old form, and spares the store a change that would be none.
  auto disabled = disabledRuleIDs()[package.id];
  if (!change(disabled)) return false;
  bool isChanged = false;
  const bool isStored = persistRulePreference([&](DisabledRuleIDs& now) {
    isChanged = change(now[package.id]);
    return isChanged;
  });
  return isStored && isChanged;
}

bool BlockerPreferenceManager::persistPackagePreference(
    const std::function<void(std::vector<std::string>&)>& edit) {
  return persist(disabledPackagesKey, [&](const KeyValueStore::Value& value) {
    auto disabled = stringsOrNone(value);
    edit(disabled);
    return orvane::toPropertyList(disabled);
  });
}

bool BlockerPreferenceManager::persistRulePreference(
    const std::function<bool(DisabledRuleIDs&)>& edit) {
  return persist(disabledRulesKey, [&](KeyValueStore::Value value) {
    auto disabled = presentForm(value);
    return edit(disabled) ? toPropertyList(disabled) : std::move(value);
  });
}

bool BlockerPreferenceManager::persist(
    std::string_view key, const std::function<KeyValueStore::Value(KeyValueStore::Value)>& edit) {
  platform_.notificationCenter.post({.name = willSaveNotification});
  const auto stored = store_.change(key, edit);
  static_cast<void>(store_.synchronize());
  if (stored) platform_.notificationCenter.post({.name = didSaveNotification});
  return stored.has_value();
}

}  // namespace orvane
