#include "BlockerKit/Lint/ConditionLint.h"

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "BlockerKit/Lint/DomainLint.h"
#include "BlockerKit/Lint/MemberLint.h"
#include "BlockerKit/Lint/URLFilterLint.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

struct Condition {
  std::string_view key;
  /// Its elements are domains, and the rule model has it; else they are regular expressions.
  bool hasDomains;
};

constexpr std::array conditions{
    Condition{"if-domain", true},     Condition{"unless-domain", true},
    Condition{"if-top-url", false},   Condition{"unless-top-url", false},
    Condition{"if-frame-url", false}, Condition{"unless-frame-url", false},
};

class ConditionLinter {
 public:
  ConditionLinter(const Condition& condition, Severity ofExpression, Findings& findings)
      : condition_(condition),
        path_(fmt::format("trigger.{}", condition.key)),
        ofExpression_(ofExpression),
        findings_(findings) {}

  void lint(const JSONValue& value) {
    if (!condition_.hasDomains) {
      findings_.warn(path_,
                     fmt::format("Packages do not carry \"{}\": the condition is lost when the "
                                 "rule is read into one.",
                                 condition_.key));
    }
    const auto elements = value.array();
    if (!elements) {
      return findings_.error(
          path_, fmt::format("The value of \"{}\" is {}, but it has to be an array of texts.",
                             condition_.key, kindOf(value)));
    }
    if (elements->begin() == elements->end()) {
      findings_.error(path_,
                      fmt::format("The array \"{}\" is empty. Leave the key out if no condition "
                                  "is meant.",
                                  condition_.key));
    }
    for (const auto element : *elements) lintElement(JSONValue(element));
  }

 private:
  void lintElement(const JSONValue& value) {
    const auto text = value.string();
    if (!text) {
      return findings_.error(
          path_, fmt::format("An element of \"{}\" is {}, but it has to be a text.", condition_.key,
                             kindOf(value)));
    }
    if (text->empty()) {
      return findings_.error(
          path_, fmt::format("An element of \"{}\" is an empty text, which the browser refuses.",
                             condition_.key));
    }
    if (condition_.hasDomains) return lintDomainElement(*text);
    if (const auto reason = lintURLFilter(*text)) {
      findings_.add(ofExpression_, path_,
                    fmt::format("The browser refuses the regular expression {}: {}.", quoted(*text),
                                *reason));
    }
  }

  void lintDomainElement(std::string_view domain) {
    auto problem = lintDomain(domain, ofExpression_);
    if (problem) findings_.add(problem->severity, path_, std::move(problem->reason));
  }

  const Condition& condition_;
  std::string path_;
  Severity ofExpression_;
  Findings& findings_;
};

}  // namespace

void lintConditions(const JSONValue& trigger, Severity ofExpression, Findings& findings) {
  std::string_view first;
  for (const auto& condition : conditions) {
    const auto value = trigger[condition.key];
    if (!value.exists()) continue;
    ConditionLinter(condition, ofExpression, findings).lint(value);
    if (first.empty()) {
      first = condition.key;
      continue;
    }
    findings.error(
        fmt::format("trigger.{}", condition.key),
        fmt::format("The trigger has both \"{}\" and \"{}\", but the browser takes only one "
                    "condition. Make two rules of it.",
                    first, condition.key));
  }
}

}  // namespace orvane
