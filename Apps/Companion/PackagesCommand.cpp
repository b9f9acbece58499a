#include "Apps/Companion/PackagesCommand.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Apps/Companion/Printable.h"
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

void printTable(const std::vector<Package>& packages) {
  std::size_t idWidth = 2;
  for (const auto& package : packages) idWidth = std::max(idWidth, package.id.size());
  fmt::print("{:13}  {:{}}  {:>6}  {}\n", "KIND", "ID", idWidth, "RULES", "NAME");
  for (const auto& package : packages) {
    fmt::print("{:13}  {:{}}  {:>6}  {}\n", kindOf(package), printable(package.id), idWidth,
               package.rules.size(), printable(package.name));
  }
}

void writeText(rapidjson::Writer<rapidjson::StringBuffer>& writer, const char* key,
               const std::string& text) {
  writer.Key(key);
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void printJSON(const std::vector<Package>& packages) {
  rapidjson::StringBuffer text;
  rapidjson::Writer writer(text);
  writer.StartArray();
  for (const auto& package : packages) {
    writer.StartObject();
    writeText(writer, "kind", kindOf(package));
    writeText(writer, "id", package.id);
    writeText(writer, "name", package.name);
    writer.Key("rules");
    writer.Uint64(package.rules.size());
    writer.EndObject();
  }
  writer.EndArray();
  fmt::print("{}\n", text.GetString());
}

}  // namespace

int runPackagesCommand(LinuxPlatform& machine, bool asJSON) {
  Process process(machine.platform());
  const auto packages = process.store().readAllPackages();
  if (asJSON) {
    printJSON(packages);
  } else {
    printTable(packages);
  }
  return 0;
}

}  // namespace orvane
