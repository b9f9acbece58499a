#include "BlockerKit/Lint/RecordLint.h"

#include <array>
#include <iterator>
#include <string_view>

#include <fmt/format.h>

#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "BlockerKit/Lint/MemberLint.h"
#include "BlockerKit/Model/Action.h"

namespace orvane {
namespace {

constexpr std::array<std::string_view, 3> ruleKeys{"id", "name", "content"};
constexpr std::array<std::string_view, 3> packageKeys{"id", "name", "rules"};

void lintIdentity(const JSONValue& record, std::string_view what, Findings& findings) {
  const auto id = record["id"];
  if (!id.string()) {
    findings.warn("id",
                  fmt::format("The \"id\" of the {} is {}. The {} gets a new id every time the "
                              "file is read, so what refers to it is lost; write a text.",
                              what, kindOf(id), what));
  } else if (id.string()->empty()) {
    findings.warn("id", fmt::format("The \"id\" of the {} is empty.", what));
  }
  const auto name = record["name"];
  if (name.exists() && !name.string()) {
    findings.warn("name", fmt::format("The \"name\" of the {} is {}. It is ignored; write a text.",
                                      what, kindOf(name)));
  }
}

bool isDroppedByReader(const JSONValue& content) {
  const auto type = content["action"]["type"].string();
  return !content["trigger"]["url-filter"].string() || !type || !fromRawValue<ActionType>(*type);
}

}  // namespace

std::vector<Finding> lintRuleRecord(const JSONValue& rule) {
  Findings findings;
  lintKeys(rule, "", ruleKeys, findings);
  lintIdentity(rule, "rule", findings);
  const auto content = rule["content"];
  if (isDroppedByReader(content)) {
    findings.warn("content",
                  "The rule is dropped when the file is read: a rule needs a \"content\" with a "
                  "\"url-filter\" in its trigger and an action that packages know.");
  }
  auto result = findings.take();
  if (!content.exists()) return result;
  auto inner = lintContentBlocker(content).findings;
  std::move(inner.begin(), inner.end(), std::back_inserter(result));
  return result;
}

std::vector<Finding> lintPackageRecord(const JSONValue& package) {
  Findings findings;
  if (!package.object()) {
    findings.warn("", fmt::format("The package is {}, so it is read as a package without rules.",
                                  kindOf(package)));
    return findings.take();
  }
  lintKeys(package, "", packageKeys, findings);
  lintIdentity(package, "package", findings);
  const auto rules = package["rules"];
  if (!rules.array()) {
    findings.warn("rules",
                  fmt::format("The value of \"rules\" is {}, so the package is read without "
                              "rules; write an array.",
                              kindOf(rules)));
  }
  return findings.take();
}

}  // namespace orvane
