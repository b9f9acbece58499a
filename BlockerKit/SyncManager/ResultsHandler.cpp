#include "BlockerKit/SyncManager/ResultsHandler.h"

#include <algorithm>
#include <iterator>

namespace orvane {
namespace {

template <typename Item>
void moveTo(std::vector<Item>& list, std::vector<Item>& items) {
  std::ranges::move(items, std::back_inserter(list));
}

/// The rules that follow each other and are of the same package.
std::vector<std::pair<std::string, std::vector<Rule>>> byPackage(
    const std::vector<std::pair<Rule, std::string>>& rules) {
  std::vector<std::pair<std::string, std::vector<Rule>>> runs;
  for (const auto& [rule, package] : rules) {
    if (runs.empty() || runs.back().first != package) runs.push_back({package, {}});
    runs.back().second.push_back(rule);
  }
  return runs;
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
    if (!lifetime.expired()) applyOnMainQueue(all, pages, std::move(completion));
  });
}

void ResultsHandler::applyOnMainQueue(const RemoteChanges& changes,
                                      const std::vector<std::string>& pages,
                                      SafariReloadingHandler completion) {
  for (const auto& identifier : changes.deleted) dataManager_.removeItem(identifier);
  for (const auto& package : changes.packages) dataManager_.addPackage(withRulesHeldHere(package));
  for (auto& [package, rules] : byPackage(changes.rules)) {
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
