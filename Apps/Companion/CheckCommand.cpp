#include "Apps/Companion/CheckCommand.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "Apps/Companion/JSONAnswer.h"
#include "Apps/Companion/Printable.h"
#include "BlockerKit/Lint/Check.h"
#include "Linux/Posix/PosixFileSystem.h"

namespace orvane {
namespace {

enum ExitStatus { accepted = 0, refused = 1, unreadable = 2 };

std::string_view nameOf(Severity severity) {
  return severity == Severity::Error ? "error" : "warning";
}

std::string_view nameOf(DocumentKind kind) {
  switch (kind) {
    case DocumentKind::List:
      return "list";
    case DocumentKind::RuleList:
      return "rule list";
    case DocumentKind::Package:
      return "package";
    case DocumentKind::PackageList:
      return "package list";
    case DocumentKind::Unknown:
      break;
  }
  return "unknown";
}

std::string counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

/// "package 2 (mine), rule 7 (r7, My rule): trigger.url-filter: ", as much of it as is known.
std::string describe(const CheckPlace& place, const std::string& key) {
  std::string text;
  if (place.package) {
    text += fmt::format("package {}", *place.package);
    if (!place.packageID.empty()) text += fmt::format(" ({})", place.packageID);
  }
  if (place.rule) {
    text += fmt::format("{}rule {}", text.empty() ? "" : ", ", *place.rule);
    const auto& id = place.ruleID;
    const auto& name = place.ruleName;
    const auto* separator = id.empty() || name.empty() ? "" : ", ";
    if (!id.empty() || !name.empty()) text += fmt::format(" ({}{}{})", id, separator, name);
  }
  if (!text.empty()) text += ": ";
  return key.empty() ? text : fmt::format("{}{}: ", text, key);
}

void printText(const std::string& file, const CheckReport& report) {
  std::size_t errors = 0;
  for (const auto& [place, finding] : report.findings) {
    fmt::print("{}:{}:{}: {}: {}{}\n", printable(file), place.position.line, place.position.column,
               nameOf(finding.severity), printable(describe(place, finding.key)),
               printable(finding.reason));
    if (finding.severity == Severity::Error) ++errors;
  }
  std::string content = counted(report.rules, "rule");
  if (report.packages > 0) {
    content = fmt::format("{} in {}", content, counted(report.packages, "package"));
  }
  fmt::print("{}: {}, {}, {}\n", printable(file), content, counted(errors, "error"),
             counted(report.findings.size() - errors, "warning"));
}

void writeFinding(JSONWriter& writer, const CheckFinding& found) {
  const auto& [place, finding] = found;
  writer.StartObject();
  writeText(writer, "severity", nameOf(finding.severity));
  writeNumber(writer, "line", place.position.line);
  writeNumber(writer, "column", place.position.column);
  if (place.package) writeNumber(writer, "package", *place.package);
  if (!place.packageID.empty()) writeText(writer, "packageId", place.packageID);
  if (place.rule) writeNumber(writer, "rule", *place.rule);
  if (!place.ruleID.empty()) writeText(writer, "ruleId", place.ruleID);
  if (!place.ruleName.empty()) writeText(writer, "ruleName", place.ruleName);
  if (!finding.key.empty()) writeText(writer, "key", finding.key);
  writeText(writer, "reason", finding.reason);
  writer.EndObject();
}

void writeReport(JSONWriter& writer, const std::string& file, const CheckReport& report) {
  writer.StartObject();
  writeText(writer, "file", file);
  writeText(writer, "kind", nameOf(report.kind));
  writeNumber(writer, "packages", report.packages);
  writeNumber(writer, "rules", report.rules);
  writer.Key("findings");
  writer.StartArray();
  for (const auto& finding : report.findings) writeFinding(writer, finding);
  writer.EndArray();
  writer.EndObject();
}

}  // namespace

int runCheckCommand(const std::vector<std::string>& files, bool asJSON) {
  PosixFileSystem fileSystem;
  rapidjson::StringBuffer json;
  JSONWriter writer(json);
  writer.StartArray();
  int status = accepted;
  for (const auto& file : files) {
    const auto text = fileSystem.read(file);
    if (!text) {
      fmt::print(stderr, "orvane: {}\n", text.error().localizedDescription);
      status = unreadable;
      continue;
    }
    const auto report = checkText(*text);
    if (report.hasErrors()) status = std::max<int>(status, refused);
    if (asJSON) {
      writeReport(writer, file, report);
    } else {
      printText(file, report);
    }
  }
  writer.EndArray();
  if (asJSON) fmt::print("{}\n", json.GetString());
  return status;
}

}  // namespace orvane
