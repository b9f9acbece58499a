#include "BlockerKit/Catalogue/DataManager.h"

#include <algorithm>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace orvane {
namespace {

std::vector<Package> packagesOfGroup(const std::vector<Package>& packages,
                                     PackageCollectionType group) {
  std::vector<Package> result;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(result),
               [&](const Package& package) { return package.groupType() == group; });
  return result;
}

bool contains(const std::vector<Package>& packages, std::string_view identifier) {
  return std::any_of(packages.begin(), packages.end(),
                     [&](const Package& package) { return package.id == identifier; });
}

bool contains(const std::vector<Rule>& rules, const Rule& rule) {
  return std::find(rules.begin(), rules.end(), rule) != rules.end();
}

}  // namespace

DataManager::DataManager(Platform& platform, PersistentStore& store, NSUserDefaults& defaults,
                         Executor& writeQueue, ReloadRequest reload, LocalChangeHooks hooks)
    : platform_(platform),
      store_(store),
      defaults_(defaults),
      writeQueue_(writeQueue),
      reload_(std::move(reload)),
      hooks_(std::move(hooks)),
      files_(platform, store) {}

BlockerPreferenceManager& DataManager::preferenceManager() {
  if (!preferenceManager_) preferenceManager_.emplace(platform_, store_, defaults_, published_);
  return *preferenceManager_;
}

std::vector<Package> DataManager::generalPackages() const {
  return packagesOfGroup(*preinstalled_, PackageCollectionType::general);
}

std::vector<Package> DataManager::internationalPackages() const {
  return packagesOfGroup(*preinstalled_, PackageCollectionType::international);
}

const std::vector<Package>& DataManager::preinstalledPackages() const { return *preinstalled_; }

void DataManager::setPreinstalledPackages(std::vector<Package> packages) {
  preinstalled_ = share(std::move(packages));
  publish();
}

const std::vector<Package>& DataManager::configurablePackages() {
  return loaded(UserList::configurable).get();
}

void DataManager::setConfigurablePackages(std::vector<Package> packages) {
  userPackages_.configurable = EditablePackages(std::move(packages));
  replay(unsaved_, UserList::configurable, userPackages_.configurable);
  known_.configurable.reset();
  publish();
}

const std::vector<Package>& DataManager::customPackages() { return loaded(UserList::custom).get(); }

std::vector<const Package*> DataManager::packages() {
  const auto& [configurable, custom] = userPackages();
  return inCompileOrder(*preinstalled_, configurable.get(), custom.get());
}

const Package* DataManager::configurablePackage(ConfigurablePackageType type) {
  for (const auto& package : configurablePackages()) {
    if (package.id == rawValue(type)) return &package;
  }
  return nullptr;
}

/// The list, which is read at its first use.
EditablePackages& DataManager::loaded(UserList list) {
  auto& packages = userPackages_[list];
  if (packages) return packages;
  auto read = files_.read(list);
  packages = EditablePackages(std::move(read.packages));
  known_[list] = std::move(read.file);
  publish();
  return packages;
}

UserPackages& DataManager::userPackages() {
  loaded(UserList::configurable);
  loaded(UserList::custom);
  return userPackages_;
}

void DataManager::publish() {
  Catalogue catalogue{.preinstalled = preinstalled_};
  if (userPackages_.configurable) catalogue.configurable = userPackages_.configurable.share();
  if (userPackages_.custom) catalogue.custom = userPackages_.custom.share();
  published_.set(std::move(catalogue));
}

bool DataManager::addRule(const Rule& rule, std::string_view packageIdentifier) {
  const auto list = listOfPackage(packageIdentifier);
  if (!list) return false;
  const std::string identifier(packageIdentifier);
  const bool isSaved = makeAndSave(*list, SettingRule{identifier, rule},
                                   [this, rule, identifier] { reportAdded(rule, identifier); });
  // Another process may have removed the package meanwhile.
  return isSaved && listOfPackage(identifier);
}

bool DataManager::replaceRule(const Rule& old, const std::optional<Rule>& replacement,
                              ConfigurablePackageType type) {
  const auto* package = configurablePackage(type);
  if (package == nullptr || !contains(package->rules, old)) return false;
  const std::string identifier(rawValue(type));
  return makeAndSave(UserList::configurable, ReplacingRule{identifier, old, replacement},
                     [this, old, replacement, identifier] {
                       if (!replacement || replacement->id != old.id) {
                         report(hooks_.ruleDeleted, old, identifier);
                       }
                       if (replacement) reportAdded(*replacement, identifier);
                     });
}

void DataManager::report(const std::function<void(const Rule&, const Package&)>& hook,
                         const Rule& rule, std::string_view packageIdentifier) {
  const auto* package = packageWithIdentifier(userPackages_, packageIdentifier);
  if (hook && package != nullptr) hook(rule, *package);
}

/// What waited for the disk may have been removed again, by another machine too, before it was
/// saved.
void DataManager::reportAdded(const Rule& rule, std::string_view packageIdentifier) {
  const auto* package = packageWithIdentifier(userPackages_, packageIdentifier);
  if (package == nullptr) return;
  const bool isThere =
      std::ranges::any_of(package->rules, [&](const Rule& held) { return held.id == rule.id; });
  if (isThere) report(hooks_.ruleAdded, rule, packageIdentifier);
}

bool DataManager::makeAndSave(UserList list, CatalogueEdit edit, std::function<void()> report) {
  makeUnsaved(list, std::move(edit), std::move(report));
  return saveLists(nullptr).isSaved(list);
}

void DataManager::makeUnsaved(UserList list, CatalogueEdit edit, std::function<void()> report) {
  perform(edit, loaded(list));
  unsaved_.push_back({list, std::move(edit), std::move(report)});
}

void DataManager::addPackage(const Package& package) {
  const bool isConfigurable = fromRawValue<ConfigurablePackageType>(package.id).has_value() ||
                              contains(configurablePackages(), package.id);
  if (isConfigurable) {
    platform_.standardOutput.print(
        fmt::format("There's already a configurable package with ID {}", package.id));
    return;
  }
  // Another process may have changed the rules since the files were read.
  const auto* held = packageWithIdentifier(userPackages(), package.id);
  const bool hasRulesHeld = held == nullptr ? package.rules.empty() : package.rules == held->rules;
  if (hasRulesHeld) {
    return makeUnsaved(UserList::custom, NamingPackage{package.id, package.name}, nullptr);
  }
  makeUnsaved(UserList::custom, SettingPackage{package}, nullptr);
}

/// Says so when there is none.
std::optional<UserList> DataManager::listOfPackage(std::string_view identifier) {
  const auto list = listWithPackage(userPackages(), identifier);
  if (!list) {
    platform_.standardOutput.print(
        fmt::format("Can't find package with identifier {}", identifier));
  }
  return list;
}

void DataManager::mergeRemoteRule(const Rule& rule, std::string_view packageIdentifier) {
  mergeRemoteRules({rule}, packageIdentifier);
}

void DataManager::mergeRemoteRules(std::vector<Rule> rules, std::string_view packageIdentifier) {
  std::optional<UserList> list;
  // Each that has no package is said.
  for (auto left = rules.size(); !list && left > 0; --left) list = listOfPackage(packageIdentifier);
  if (!list) return;
  makeUnsaved(*list, SettingRules{std::string(packageIdentifier), std::move(rules)}, nullptr);
}

void DataManager::removeItem(std::string_view identifier) {
  removeItems({std::string(identifier)});
}

void DataManager::removeItems(const std::vector<std::string>& identifiers) {
  const auto& [configurable, custom] = userPackages();
  auto removals = itemRemovals(identifiers, configurable.get(), custom.get());
  const auto make = [&](UserList list, RemovingItems edit) {
    if (!edit.items.empty()) makeUnsaved(list, std::move(edit), nullptr);
  };
  make(UserList::configurable, std::move(removals.configurable));
  make(UserList::custom, std::move(removals.custom));
}

bool DataManager::save(PackageCollectionType /*kind*/, SafariReloadingHandler completion) {
  const auto saved = saveLists(std::move(completion));
  return saved.configurable && saved.custom;
}

SavedLists DataManager::saveLists(SafariReloadingHandler completion) {
  userPackages();
  platform_.notificationCenter.post({.name = willSaveNotification});
  SavedLists saved;
  writeQueue_.runAndWait([&] { saved = files_.save(userPackages_, unsaved_, known_); });
  const auto reports = takeReports(saved);
  publish();
  platform_.notificationCenter.post({.name = didSaveNotification});
  reload_(preferenceManager(), /*allowsCancelling=*/true, std::move(completion));
  for (const auto& report : reports) report();
  return saved;
}

/// The reports of the edits that have been saved, which are no longer unsaved.
std::vector<std::function<void()>> DataManager::takeReports(const SavedLists& saved) {
  std::vector<std::function<void()>> reports;
  for (auto& edit : unsaved_) {
    if (saved.isSaved(edit.list) && edit.report) reports.push_back(std::move(edit.report));
  }
  std::erase_if(unsaved_, [&](const UnsavedEdit& edit) { return saved.isSaved(edit.list); });
  return reports;
}

void DataManager::refresh(std::function<void(RefreshResult)> completion) {
  // The manager may be gone when the write queue comes to it, but not what the files need.
  writeQueue_.post([this, files = files_, known = known_, lifetime = std::weak_ptr(lifetime_),
                    &mainQueue = platform_.mainQueue,
                    completion = std::move(completion)]() mutable {
    auto changed = files.readChanged(known);
    mainQueue.post([this, known = std::move(known), lifetime, completion = std::move(completion),
                    changed = std::move(changed)]() mutable {
      if (lifetime.expired()) return;
      // A save meanwhile has read and written the files itself, and knows better.
      if (known != known_) return refresh(std::move(completion));
      completion(changed ? takeChanges(std::move(*changed)) : RefreshResult::failed);
    });
  });
}

bool DataManager::isUpToDate() { return files_.isUpToDate(known_); }

bool DataManager::take(std::optional<LoadedPackages> changed, UserList list) {
  if (!changed) return false;
  auto& packages = userPackages_[list];
  packages = EditablePackages(std::move(changed->packages));
  known_[list] = std::move(changed->file);
  replay(unsaved_, list, packages);
  return true;
}

DataManager::RefreshResult DataManager::takeChanges(ChangedLists changed) {
  const auto unchanged =
      changed.isIncomplete ? RefreshResult::incomplete : RefreshResult::unchanged;
  const bool isPreinstalledChanged = changed.preinstalled.has_value();
  const bool isConfigurableChanged = take(std::move(changed.configurable), UserList::configurable);
  const bool isCustomChanged = take(std::move(changed.custom), UserList::custom);
  if (!isPreinstalledChanged && !isConfigurableChanged && !isCustomChanged) {
    return unchanged;
  }
  if (isPreinstalledChanged) {
    preinstalled_ = share(std::move(changed.preinstalled->packages));
    known_.preinstalled = std::move(changed.preinstalled->file);
  }
  publish();
  if (isPreinstalledChanged) {
    platform_.notificationCenter.post({.name = didUpdatePreinstalledNotification});
  }
  return changed.isIncomplete ? RefreshResult::incomplete : RefreshResult::changed;
}

}  // namespace orvane
