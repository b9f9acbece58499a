#include "Apps/Companion/HideCommand.h"

#include <algorithm>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/HideRules.h"
#include "Apps/Companion/Lookup.h"
#include "Apps/Companion/RuleSwitches.h"
#include "Apps/Companion/Table.h"

namespace orvane {
namespace {

constexpr auto hideElements = ConfigurablePackageType::HideElements;

const Package* hidePackage(Process& process) {
  const auto* package = process.dataManager().configurablePackage(hideElements);
  if (package == nullptr) {
    complain(fmt::format("The package '{}' is missing.", rawValue(hideElements)));
  }
  return package;
}

const Rule* sameRule(const Package& package, const Rule& wanted) {
  const auto found =
      std::find_if(package.rules.begin(), package.rules.end(), [&](const Rule& rule) {
        return rule.blocker.action.type() == ActionType::Hide &&
               selectorOf(rule) == selectorOf(wanted) &&
               isSameFilter(rule.blocker.trigger.domainFilter, wanted.blocker.trigger.domainFilter);
      });
  return found == package.rules.end() ? nullptr : &*found;
}

std::string hiddenAlready(const Rule& rule) {
  return fmt::format("{} is hidden {} already, by the rule {}.", selectorOf(rule),
                     placesOf(rule.blocker.trigger.domainFilter), describe(rule));
}

std::string packageIsOff(const Package& package) {
  return fmt::format("The package {} is switched off; 'orvane enable {}' switches it on.",
                     package.id, package.id);
}

ChangeAnswer answerAbout(const Rule& rule, std::string line, bool isChange) {
  ChangeAnswer answer{.lines = {std::move(line)}, .members = [rule](JSONWriter& writer) {
                        writeText(writer, "rule", rule.id);
                        writeHidden(writer, rule);
                      }};
  if (isChange) answer.change = ChangeAnswer::Change::packageFiles;
  return answer;
}

/// There is such a rule; that is enough unless it is switched off.
int concludeWithKnown(ChangeCommand& command, const Package& package, const Rule& rule) {
  auto& preferences = command.process().dataManager().preferenceManager();
  if (preferences.userPreferenceIsDisabledForPackage(package)) {
    complain(fmt::format("There is the rule {} for it.", describe(rule)));
    return failure(packageIsOff(package));
  }
  if (preferences.userPreferenceIsDisabledForRule(rule, package)) {
    return failure(fmt::format(
        "There is the rule {} for it, which is switched off; 'orvane enable {} {}' switches it on.",
        describe(rule), package.id, rule.id));
  }
  return command.conclude(answerAbout(rule, hiddenAlready(rule), /*isChange=*/false));
}

/// The rule that the user wants; nothing, having said why, when there can be none.
std::optional<Rule> makeRule(ChangeCommand& command, const Hidden& hidden) {
  const auto selector = trimmedSelector(hidden.selector);
  if (selector.empty()) {
    complain("The selector is empty.");
    return std::nullopt;
  }
  auto& rules = command.process().perSiteRules();
  InputCheck check(command.platform(), rules);
  std::optional<DomainFilter> filter;
  if (!makeFilter(check, hidden, filter)) return std::nullopt;
  auto rule = rules.hideElementRule(selector, filter, std::nullopt, std::nullopt);
  if (!rule) {
    complain(fmt::format("No rule can be made for {}.", selector));
    return std::nullopt;
  }
  if (const auto objection = InputCheck::objection(*rule)) {
    complain(*objection);
    return std::nullopt;
  }
  return rule;
}

/// The rules that the user may mean.
std::vector<const Rule*> candidates(const Package& package, const std::string& selectorOrID,
                                    const std::optional<DomainFilter>& filter) {
  std::vector<const Rule*> byID;
  std::vector<const Rule*> bySelector;
  const auto selector = trimmedSelector(selectorOrID);
  for (const auto& rule : package.rules) {
    if (filter && !isSameFilter(rule.blocker.trigger.domainFilter, filter)) continue;
    if (rule.id == selectorOrID) byID.push_back(&rule);
    if (!selector.empty() && selectorOf(rule) == selector) bySelector.push_back(&rule);
  }
  return byID.empty() ? bySelector : byID;
}

std::string ambiguity(const std::vector<const Rule*>& rules) {
  std::string text = fmt::format("There are {} such rules; say which one by its id:", rules.size());
  for (const auto* rule : rules) {
    text += fmt::format("\n  {}  {}", rule->id, placesOf(rule->blocker.trigger.domainFilter));
  }
  return text;
}

}  // namespace

int runHideAddCommand(LinuxPlatform& machine, const ChangeOptions& options, const Hidden& hidden) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  const auto* package = hidePackage(command.process());
  if (package == nullptr) return 1;
  const auto rule = makeRule(command, hidden);
  if (!rule) return 1;
  if (const auto* known = sameRule(*package, *rule)) {
    return concludeWithKnown(command, *package, *known);
  }
  auto& manager = command.process().dataManager();
  const bool isOff = manager.preferenceManager().userPreferenceIsDisabledForPackage(*package);
  const auto places = placesOf(rule->blocker.trigger.domainFilter);
  if (!manager.addRule(*rule, rawValue(hideElements))) {
    return failure(fmt::format("{} is not hidden.", selectorOf(*rule)));
  }
  auto answer = answerAbout(*rule,
                            fmt::format("{} is hidden {} now, by the rule {}.", selectorOf(*rule),
                                        places, describe(*rule)),
                            /*isChange=*/true);
  if (isOff) {
    answer.lines.emplace_back("It has no effect yet.");
    answer.lines.push_back(packageIsOff(*hidePackage(command.process())));
  }
  return command.conclude(answer);
}

int runHideRemoveCommand(LinuxPlatform& machine, const ChangeOptions& options,
                         const Hidden& hidden) {
  ChangeCommand command(machine, options);
  if (!command.canStore()) return 1;
  const auto* package = hidePackage(command.process());
  if (package == nullptr) return 1;
  InputCheck check(command.platform(), command.process().perSiteRules());
  std::optional<DomainFilter> filter;
  if (!makeFilter(check, hidden, filter)) return 1;
  const auto found = candidates(*package, hidden.selector, filter);
  if (found.empty()) {
    return failure(fmt::format("There is no rule that hides {}{}{}.", hidden.selector,
                               filter ? " " : "", filter ? placesOf(filter) : ""));
  }
  if (found.size() > 1) return failure(ambiguity(found));
  const auto rule = *found.front();
  if (!command.process().dataManager().replaceRule(rule, std::nullopt, hideElements)) {
    return failure(fmt::format("The rule {} is still there.", describe(rule)));
  }
  return command.conclude(
      answerAbout(rule, fmt::format("The rule {} is removed.", describe(rule)), /*isChange=*/true));
}

int runHideListCommand(LinuxPlatform& machine, bool asJSON) {
  Process process(machine.platform());
  const auto* package = hidePackage(process);
  if (package == nullptr) return 1;
  const RuleSwitches switches(process.dataManager().preferenceManager(), *package);
  if (!asJSON) {
    std::vector<std::vector<std::string>> table{{"RULE", "STATE", "SELECTOR", "PLACE"}};
    for (const auto& rule : package->rules) {
      table.push_back({rule.id, switches.isEnabled(rule) ? "on" : "off", selectorOf(rule),
                       placesOf(rule.blocker.trigger.domainFilter)});
    }
    printTable(table);
    return 0;
  }
  printJSON([&](JSONWriter& writer) {
    writer.StartArray();
    for (const auto& rule : package->rules) {
      writer.StartObject();
      writeText(writer, "rule", rule.id);
      writeText(writer, "name", rule.name);
      writeHidden(writer, rule);
      writeBoolean(writer, "enabled", switches.isEnabled(rule));
      writer.EndObject();
    }
    writer.EndArray();
  });
  return 0;
}

}  // namespace orvane
