#include "BlockerKit/Lint/ContentBlockerLint.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/Lint/ActionLint.h"
#include "BlockerKit/Lint/MemberLint.h"
#include "BlockerKit/Lint/TriggerLint.h"

namespace orvane {
namespace {

constexpr std::array<std::string_view, 2> knownKeys{"trigger", "action"};

}  // namespace

bool BlockerLint::isRefused() const {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::Error; });
}

BlockerLint lintContentBlocker(const JSONValue& blocker) {
  Findings findings;
  BlockerLint result;
  if (!blocker.object()) {
    findings.error("",
                   fmt::format("The rule is {}, but it has to be an object with \"trigger\" and "
                               "\"action\".",
                               kindOf(blocker)));
  } else {
    lintKeys(blocker, "", knownKeys, findings);
    Findings ofAction;
    result.isDropped = lintAction(blocker["action"], ofAction);
    lintTrigger(blocker["trigger"], result.isDropped ? Severity::Warning : Severity::Error,
                findings);
    findings.append(std::move(ofAction));
  }
  result.findings = findings.take();
  return result;
}

BlockerLint lintContentBlocker(const Blocker& blocker) {
  const auto document = toJSON(blocker).and_then(JSONDocument::parse);
  if (document) return lintContentBlocker(document->root());
  return {.findings = {{Severity::Error, "", document.error().localizedDescription}}};
}

}  // namespace orvane
