#include "Apps/Companion/ReloadError.h"

#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/RefusedRules.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"

namespace orvane {
namespace {

constexpr std::size_t mostRefusedRules = 10;

/// The rules say more than the entries of the list, which the compiler's further lines are about.
std::string reasonOf(const NSError& failure, DataManager& dataManager) {
  auto& preferences = dataManager.preferenceManager();
  const auto rules = refusedRules(dataManager.packages(), preferences.disabledPackageIDs(),
                                  preferences.disabledRuleIDs());
  if (rules.empty()) return failure.localizedDescription;
  auto reason = failure.localizedDescription.substr(0, failure.localizedDescription.find('\n'));
  for (std::size_t i = 0; i < std::min(rules.size(), mostRefusedRules); ++i) {
    reason += "\n" + rules[i];
  }
  if (rules.size() > mostRefusedRules) {
    reason += fmt::format("\nand {} more", rules.size() - mostRefusedRules);
  }
  return reason;
}

}  // namespace

std::string tooManyRules(std::size_t count) {
  return fmt::format("There are {} rules, and the browser takes {} at the most.", count,
                     mostBlockersInList);
}

std::string unreadableBrowserSettings(const NSError& error) {
  return "The browser's settings cannot be read: " + error.localizedDescription;
}

std::string reloadError(const ReloadReport& report, DataManager& dataManager) {
  if (!report.isListBuilt) {
    return fmt::format("The settings cannot be read, and the blocker list stays as it is: {}",
                       report.result.failure()->localizedDescription);
  }
  if (!report.isWritten) return "The blocker list cannot be written.";
  const auto* failure = report.result.failure();
  if (failure == nullptr) return "";
  if (report.blockerCount > mostBlockersInList) return tooManyRules(report.blockerCount);
  // A list that blocks nothing has none of the rules in it.
  const auto reason =
      report.isPaused ? failure->localizedDescription : reasonOf(*failure, dataManager);
  return fmt::format("The browser did not take the list: {}\n{}", reason,
                     "The last good list, if there was one, stays in force.");
}

}  // namespace orvane
