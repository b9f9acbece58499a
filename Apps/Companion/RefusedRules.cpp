#include "Apps/Companion/RefusedRules.h"

#include <fmt/format.h>

#include "Apps/Companion/Printable.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"

namespace orvane {
namespace {

std::vector<Finding> errorsOf(const Rule& rule) {
  auto json = toJSON(rule.blocker);
  if (!json) return {{Severity::Error, "", json.error().localizedDescription}};
  const auto document = JSONDocument::parse(std::move(*json));
  if (!document) return {{Severity::Error, "", document.error().localizedDescription}};
  auto findings = lintContentBlocker(document->root()).findings;
  std::erase_if(findings, [](auto& finding) { return finding.severity != Severity::Error; });
  return findings;
}

}  // namespace

std::vector<std::string> refusedRules(std::span<const Package> catalogue) {
  std::vector<std::string> lines;
  for (const auto& package : catalogue) {
    for (const auto& rule : package.rules) {
      for (const auto& finding : errorsOf(rule)) {
        lines.push_back(printable(fmt::format("package {}, rule {} ({}): {}{}{}", package.id,
                                              rule.id, rule.name, finding.key,
                                              finding.key.empty() ? "" : ": ", finding.reason)));
      }
    }
  }
  return lines;
}

}  // namespace orvane
