#include "Apps/Companion/SiteListCommand.h"

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/RuleSwitches.h"
#include "Apps/Companion/Table.h"

namespace orvane {
namespace {

struct SiteRow {
  /// Empty for a rule that applies on all sites.
  std::string domain;
  bool isExcepted;
  const Rule* rule;
  bool isEnabled;
};

std::vector<SiteRow> rowsOf(const Package& package, BlockerPreferenceManager& preferences) {
  const RuleSwitches switches(preferences, package);
  std::vector<SiteRow> rows;
  for (const auto& rule : package.rules) {
    const bool isEnabled = switches.isEnabled(rule);
    const auto& filter = rule.blocker.trigger.domainFilter;
    if (!filter || filter->values.empty()) {
      rows.push_back({"", false, &rule, isEnabled});
      continue;
    }
    for (const auto& domain : filter->values) {
      rows.push_back({domain, !listsSites(rule), &rule, isEnabled});
    }
  }
  return rows;
}

std::string placeOf(const SiteRow& row) {
  if (row.domain.empty()) return "(every site)";
  return row.isExcepted ? fmt::format("(not {})", row.domain) : row.domain;
}

void printText(const std::vector<SiteRow>& rows) {
  std::vector<std::vector<std::string>> table{{"DOMAIN", "STATE", "RULE", "NAME"}};
  for (const auto& row : rows) {
    table.push_back({placeOf(row), row.isEnabled ? "on" : "off", row.rule->id, row.rule->name});
  }
  printTable(table);
}

void write(JSONWriter& writer, const std::vector<SiteRow>& rows) {
  writer.StartArray();
  for (const auto& row : rows) {
    writer.StartObject();
    if (!row.domain.empty()) writeText(writer, row.isExcepted ? "except" : "domain", row.domain);
    writeText(writer, "rule", row.rule->id);
    writeText(writer, "name", row.rule->name);
    writeBoolean(writer, "enabled", row.isEnabled);
    writer.EndObject();
  }
  writer.EndArray();
}

}  // namespace

int runSiteListCommand(LinuxPlatform& machine, const SiteList& list, bool asJSON) {
  Process process(machine.platform());
  const auto* package = process.dataManager().configurablePackage(list.type);
  if (package == nullptr) {
    return failure(fmt::format("The package '{}' is missing.", rawValue(list.type)));
  }
  const auto rows = rowsOf(*package, process.dataManager().preferenceManager());
  if (asJSON) {
    printJSON([&](JSONWriter& writer) { write(writer, rows); });
  } else {
    printText(rows);
  }
  return 0;
}

}  // namespace orvane
