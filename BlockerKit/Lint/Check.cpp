#include "BlockerKit/Lint/Check.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/JSON/JSONText.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "BlockerKit/Lint/DocumentShape.h"
#include "BlockerKit/Lint/ElementPositions.h"
#include "BlockerKit/Lint/JSONError.h"
#include "BlockerKit/Lint/RecordLint.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

/// The place of the last member under `key` among the members of an object.
std::optional<std::size_t> memberIndex(const JSONValue& object, std::string_view key) {
  std::optional<std::size_t> found;
  std::size_t index = 0;
  const auto members = object.object();
  if (!members) return found;
  for (const auto member : *members) {
    if (member.key == key) found = index;
    ++index;
  }
  return found;
}

class Checker {
 public:
  explicit Checker(std::string_view text)
      : text_(text), json_(withoutByteOrderMark(text)), positions_(json_) {}

  CheckReport check() {
    if (skipJSONWhitespace(json_, 0) == json_.size()) {
      reject("The file is empty, and the browser refuses an empty file.");
      return std::move(report_);
    }
    const auto document = JSONDocument::parse(std::string(json_));
    if (!document) {
      explainJSONError(document.error().localizedDescription);
      return std::move(report_);
    }
    checkRoot(document->root());
    checkCount();
    return std::move(report_);
  }

 private:
  void checkRoot(const JSONValue& root) {
    const auto shape = documentShape(root);
    report_.kind = shape.kind;
    const std::size_t begin = skipJSONWhitespace(json_, 0);
    switch (shape.kind) {
      case DocumentKind::Unknown:
        return reject(shape.reason);
      case DocumentKind::List:
        return checkList(root, begin);
      case DocumentKind::RuleList:
        return checkRules(root, begin, {});
      case DocumentKind::Package:
        return checkPackage(root, begin);
      case DocumentKind::PackageList:
        break;
    }
    const auto begins = elementPositions(json_, begin);
    std::size_t index = 0;
    const auto packages = root.array();
    for (const auto element : *packages) checkPackage(JSONValue(element), begins[index++]);
  }

  void checkList(const JSONValue& list, std::size_t begin) {
    const auto begins = elementPositions(json_, begin);
    std::size_t dropped = 0;
    const auto elements = list.array();
    for (const auto element : *elements) {
      auto lint = lintContentBlocker(JSONValue(element));
      if (lint.isDropped && !lint.isRefused()) ++dropped;
      CheckPlace place;
      place.rule = report_.rules + 1;
      add(std::move(place), begins[report_.rules], std::move(lint.findings));
      ++report_.rules;
    }
    checkListAsWhole(dropped);
  }

  /// Packages are compiled into one list, so the limit is theirs too.
  void checkCount() {
    if (report_.rules <= mostBlockersInList) return;
    reject(fmt::format("The file holds {} rules, but the browser takes at most {} in a list.",
                       report_.rules, mostBlockersInList));
  }

  void checkListAsWhole(std::size_t dropped) {
    if (json_.size() < text_.size()) {
      reject(
          "The file begins with a byte order mark, which the browser refuses. Save it as UTF-8 "
          "without a byte order mark.");
    }
    if (report_.rules == 0) {
      reject("The list holds no rules, and the browser refuses an empty list.");
    } else if (dropped == report_.rules) {
      reject(
          "The browser drops every rule of the list because of its selector, and it refuses the "
          "empty list that remains.");
    }
    if (isNestedTooDeeply(json_)) {
      reject(
          "The list has values inside of more than 1000 arrays and objects, which the browser "
          "refuses.");
    }
  }

  void checkPackage(const JSONValue& package, std::size_t begin) {
    CheckPlace place;
    place.package = ++report_.packages;
    place.packageID = package["id"].stringValue();
    add(place, begin, lintPackageRecord(package));
    const auto rules = package["rules"];
    if (!rules.array()) return;
    checkRules(rules, memberPosition(json_, begin, *memberIndex(package, "rules")), place);
  }

  void checkRules(const JSONValue& rules, std::size_t begin, const CheckPlace& package) {
    const auto begins = elementPositions(json_, begin);
    std::unordered_map<std::string_view, std::size_t> indexOfID;
    std::size_t index = 0;
    const auto elements = rules.array();
    if (!elements) return;
    for (const auto element : *elements) {
      const JSONValue rule(element);
      auto findings = lintRuleRecord(rule);
      ++index;
      if (const auto id = rule["id"].string()) {
        const auto [other, isNew] = indexOfID.emplace(*id, index);
        if (!isNew) findings.push_back(sameID(*id, other->second));
      }
      if (!findings.empty()) {
        CheckPlace place = package;
        place.rule = index;
        place.ruleID = rule["id"].stringValue();
        place.ruleName = rule["name"].stringValue();
        add(std::move(place), begins[index - 1], std::move(findings));
      }
    }
    report_.rules += index;
  }

  static Finding sameID(std::string_view id, std::size_t other) {
    return {Severity::Warning, "id",
            fmt::format("Rule {} has the same \"id\", {}. Editing or switching off one of them "
                        "concerns both; give each rule an id of its own.",
                        other, quoted(id))};
  }

  void explainJSONError(const std::string& reason) {
    const auto error = findJSONError(json_);
    if (!error) {
      return reject(
          fmt::format("The file is beyond the limits of what can be read as JSON: {}", reason));
    }
    add({}, error->offset,
        {{Severity::Error, "", fmt::format("The file is not JSON: {}.", error->reason)}});
  }

  void reject(std::string reason) { add({}, 0, {{Severity::Error, "", std::move(reason)}}); }

  void add(CheckPlace place, std::size_t offset, std::vector<Finding> findings) {
    if (findings.empty()) return;
    place.position = positions_.at(offset);
    for (auto& finding : findings) report_.findings.push_back({place, std::move(finding)});
  }

  std::string_view text_;
  std::string_view json_;
  TextPositions positions_;
  CheckReport report_;
};

}  // namespace

bool CheckReport::hasErrors() const {
  return std::any_of(findings.begin(), findings.end(), [](const CheckFinding& found) {
    return found.finding.severity == Severity::Error;
  });
}

CheckReport checkText(const std::string& text) { return Checker(text).check(); }

}  // namespace orvane
