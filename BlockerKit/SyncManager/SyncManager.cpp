#include "BlockerKit/SyncManager/SyncManager.h"

#include <string>
#include <utility>

namespace orvane {
namespace {

std::vector<std::string> identifiersOf(std::span<const Rule> rules) {
  std::vector<std::string> identifiers;
  identifiers.reserve(rules.size());
  for (const auto& rule : rules) identifiers.push_back(rule.id);
  return identifiers;
}

void addRules(LocalChangesEdit& edit, std::span<const Rule> rules, const Package& package) {
  edit.unmarkDeleted(identifiersOf(rules), RecordKind::rule);
  edit.addRules(rules, package.id);
}

}  // namespace

SyncManager::SyncManager(Platform& platform, NSUserDefaults& defaults, SyncRequests requests)
    : platform_(platform),
      defaults_(defaults),
      requests_(std::move(requests)),
      localChanges_(defaults, platform.systemLog) {}

void SyncManager::packageAdded(const Package& package) {
  record([&](LocalChangesEdit& edit) {
    edit.unmarkDeleted({package.id}, RecordKind::package);
    edit.addPackage(package.id, package.name);
    addRules(edit, package.rules, package);
  });
}

void SyncManager::packageDeleted(const Package& package) {
  record([&](LocalChangesEdit& edit) {
    const auto rules = identifiersOf(package.rules);
    edit.markDeleted({package.id}, RecordKind::package);
    edit.removeAdded({package.id}, RecordKind::package);
    edit.removeAdded(rules, RecordKind::rule);
    edit.markDeleted(rules, RecordKind::rule);
  });
}

void SyncManager::ruleAdded(const Rule& rule, const Package& package) {
  ruleCollectionAdded({&rule, 1}, package);
}

void SyncManager::ruleCollectionAdded(std::span<const Rule> rules, const Package& package) {
  record([&](LocalChangesEdit& edit) { addRules(edit, rules, package); });
}

/// The rules of a package are records of their own, so that of the package stays as it is.
void SyncManager::ruleDeleted(const Rule& rule, const Package& /*package*/) {
  record([&](LocalChangesEdit& edit) {
    edit.removeAdded({rule.id}, RecordKind::rule);
    edit.markDeleted({rule.id}, RecordKind::rule);
  });
}

void SyncManager::update(const std::vector<Package>& packages) {
  if (!packages.empty() && !localChanges_.existingDataIsMarkedAsAdded()) {
    platform_.standardOutput.print("Preparing packages for initial sync");
    localChanges_.markExistingDataAsAdded(packages);
  }
  requests_.pushAllLocalUpdates(1);
  if (defaults_.boolForKey(zoneSavedKey)) requests_.fetchRemoteChanges();
}

void SyncManager::record(const std::function<void(LocalChangesEdit&)>& edit) {
  (void)localChanges_.change(edit);
  defaults_.synchronize();
  requests_.pushAllLocalUpdates(1);
}

}  // namespace orvane
