#include "BlockerKit/SyncManager/ResultsHandler.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

namespace orvane {
namespace {

template <typename Item>
void moveTo(std::vector<Item>& list, std::vector<Item>& items) {
  std::ranges::move(items, std::back_inserter(list));
}

/// The rules of each package in their order, whatever rules of others come in between: a rule is
/// put into its own package only, so it makes no difference to those of others.
std::vector<std::pair<std::string, std::vector<Rule>>> byPackage(
    std::vector<std::pair<Rule, std::string>>&& rules) {
  std::vector<std::pair<std::string, std::vector<Rule>>> packages;
  std::unordered_map<std::string, std::size_t> places;
  for (auto& [rule, package] : rules) {
    const auto [place, isNew] = places.try_emplace(package, packages.size());
    if (isNew) packages.emplace_back(package, std::vector<Rule>());
    packages[place->second].second.push_back(std::move(rule));
  }
  return packages;
}

}  // namespace

void ResultsHandler::append(RemoteChanges changes, const std::string& page) {
  moveTo(deletedPending_, changes.deleted);
  moveTo(rulesPending_, changes.rules);
  moveTo(packagesPending_, changes.packages);
  if (!page.empty()) pagesPending_.push_back(page);
}

void ResultsHandler::apply(RemoteChanges changes, const std::string& page, bool moreComing,
                           SafariReloadingHandler completion) {
  append(std::move(changes), page);
  if (moreComing) return;
  RemoteChanges all{.deleted = std::exchange(deletedPending_, {}),
                    .rules = std::exchange(rulesPending_, {}),
                    .packages = std::exchange(packagesPending_, {})};
  if (all.isEmpty()) return;
  mainQueue_.post([this, lifetime = std::weak_ptr(lifetime_), all = std::move(all),
                   pages = std::exchange(pagesPending_, {}),
                   completion = std::move(completion)]() mutable {
    if (!lifetime.expired()) applyOnMainQueue(std::move(all), pages, std::move(completion));
  });
}

void ResultsHandler::applyOnMainQueue(RemoteChanges changes, const std::vector<std::string>& pages,
                                      SafariReloadingHandler completion) {
  dataManager_.removeItems(changes.deleted);
  for (const auto& package : changes.packages) dataManager_.addPackage(withRulesHeldHere(package));
  for (auto& [package, rules] : byPackage(std::move(changes.rules))) {
    dataManager_.mergeRemoteRules(std::move(rules), package);
  }
  std::ranges::copy(pages, std::back_inserter(pagesUnsaved_));
  const bool isSaved = dataManager_.save(PackageCollectionType::custom, std::move(completion));
  if (isSaved && pagesSaved_(pagesUnsaved_)) pagesUnsaved_.clear();
}

/// A package travels without its rules; a new name must not empty it.
Package ResultsHandler::withRulesHeldHere(const Package& package) {
  const auto& packages = dataManager_.customPackages();
  const auto held = std::ranges::find(packages, package.id, &Package::id);
  auto result = package;
  if (held != packages.end()) result.rules = held->rules;
  return result;
}

}  // namespace orvane
