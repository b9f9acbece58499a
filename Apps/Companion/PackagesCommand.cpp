#include "Apps/Companion/PackagesCommand.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "Apps/Companion/Failure.h"
#include "Apps/Companion/JSONAnswer.h"
#include "Apps/Companion/Lookup.h"
#include "Apps/Companion/Printable.h"
#include "Apps/Companion/Table.h"
#include "Process/Process.h"

namespace orvane {
namespace {

std::string kindOf(const Package& package) {
  if (fromRawValue<ConfigurablePackageType>(package.id)) return "configurable";
  switch (package.groupType()) {
    case PackageCollectionType::general:
      return "general";
    case PackageCollectionType::international:
      return "international";
    case PackageCollectionType::custom:
      break;
  }
  return "custom";
}

struct PackageRow {
  const Package* package;
  bool isEnabled;
  std::size_t disabledRules;
};

std::vector<PackageRow> rowsOf(const std::vector<Package>& packages,
                               BlockerPreferenceManager& preferences) {
  std::vector<PackageRow> rows;
  rows.reserve(packages.size());
  for (const auto& package : packages) {
    rows.push_back({&package, !preferences.userPreferenceIsDisabledForPackage(package),
                    preferences.filterRulesForPackage(package, false).size()});
  }
  return rows;
}

void printText(const std::vector<PackageRow>& rows) {
  std::vector<std::vector<std::string>> table{{"KIND", "ID", "STATE", "RULES", "OFF", "NAME"}};
  for (const auto& [package, isEnabled, disabledRules] : rows) {
    table.push_back({kindOf(*package), package->id, isEnabled ? "on" : "off",
                     std::to_string(package->rules.size()), std::to_string(disabledRules),
                     package->name});
  }
  printTable(table);
}

void write(JSONWriter& writer, const std::vector<PackageRow>& rows) {
  writer.StartArray();
  for (const auto& [package, isEnabled, disabledRules] : rows) {
    writer.StartObject();
    writeText(writer, "kind", kindOf(*package));
    writeText(writer, "id", package->id);
    writeText(writer, "name", package->name);
    writeNumber(writer, "rules", package->rules.size());
    writeBoolean(writer, "enabled", isEnabled);
    writeNumber(writer, "disabledRules", disabledRules);
    writer.EndObject();
  }
  writer.EndArray();
}

template <typename Item>
void printIdentifiers(const std::vector<Item>& items) {
  for (const auto& item : items) fmt::print("{}\n", printable(item.id));
}

}  // namespace

int runPackagesCommand(LinuxPlatform& machine, bool asJSON) {
  Process process(machine.platform());
  const auto packages = process.store().readAllPackages();
  const auto rows = rowsOf(packages, process.dataManager().preferenceManager());
  if (asJSON) {
    printJSON([&](JSONWriter& writer) { write(writer, rows); });
  } else {
    printText(rows);
  }
  return 0;
}

int runIdentifiersCommand(LinuxPlatform& machine, const std::string& package) {
  Process process(machine.platform());
  const auto packages = process.store().readAllPackages();
  if (package.empty()) {
    printIdentifiers(packages);
    return 0;
  }
  const auto found = findPackage(packages, package);
  if (!found) return failure(found.error());
  printIdentifiers((*found)->rules);
  return 0;
}

}  // namespace orvane
