#include "Apps/Companion/ExpectedList.h"

#include "BlockerKit/Catalogue/EnabledBlockers.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/PersistentStore/PlaceholderBlocker.h"
#include "Platform/Foundation/ContentHash.h"

namespace orvane {

ExpectedList expectedList(Process& process, const std::vector<Package>& catalogue) {
  std::vector<const Package*> packages;
  packages.reserve(catalogue.size());
  for (const auto& package : catalogue) packages.push_back(&package);
  auto& preferences = process.dataManager().preferenceManager();
  auto blockers =
      enabledBlockers(packages, preferences.disabledPackageIDs(), preferences.disabledRuleIDs());
  const auto count = blockers.size();
  if (process.defaults().boolForKey(Communication::pausedKey)) blockers.clear();
  if (blockers.empty()) blockers.push_back(placeholderBlocker());
  const auto json = toJSON(std::span<const Blocker>(blockers));
  return {count, json ? contentHash(*json) : std::string()};
}

}  // namespace orvane
