#include "BlockerKit/Lint/TriggerLint.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

#include <fmt/format.h>

#include "BlockerKit/Lint/CharacterKinds.h"
#include "BlockerKit/Lint/ConditionLint.h"
#include "BlockerKit/Lint/MemberLint.h"
#include "BlockerKit/Lint/URLFilterLint.h"
#include "BlockerKit/Model/LoadType.h"
#include "BlockerKit/Model/ResourceType.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

using namespace std::literals;

constexpr std::array knownKeys{
    "url-filter"sv,
    "url-filter-is-case-sensitive"sv,
    "resource-type"sv,
    "load-type"sv,
    "load-context"sv,
    "request-method"sv,
    "if-domain"sv,
    "unless-domain"sv,
    "if-top-url"sv,
    "unless-top-url"sv,
    "if-frame-url"sv,
    "unless-frame-url"sv,
    "top-url-filter-is-case-sensitive"sv,
    "frame-url-filter-is-case-sensitive"sv,
};

/// Words that the browser knows beside those of the rule model.
constexpr std::array moreResourceTypes{"ping"sv,          "fetch"sv,      "websocket"sv,
                                       "other"sv,         "csp-report"sv, "top-document"sv,
                                       "child-document"sv};
constexpr std::array loadContexts{"top-frame"sv, "child-frame"sv};
constexpr std::array requestMethods{"get"sv,    "head"sv, "options"sv, "trace"sv,  "put"sv,
                                    "delete"sv, "post"sv, "patch"sv,   "connect"sv};

/// A filter longer than this takes the browser seconds.
constexpr std::size_t longestURLFilter = 2000;

bool contains(std::span<const std::string_view> words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

template <typename Enum>
bool isOfModel(std::string_view word) {
  return fromRawValue<Enum>(word).has_value();
}

bool isOfNoModel(std::string_view) { return false; }

struct WordList {
  std::string_view key;
  /// Whether the rule model has the word.
  bool (*isOfModel)(std::string_view);
  /// What else the browser takes.
  std::span<const std::string_view> more;
  /// What an empty array stands for.
  std::string_view everything;
};

class TriggerLinter {
 public:
  TriggerLinter(const JSONValue& trigger, Severity ofExpression, Findings& findings)
      : trigger_(trigger), ofExpression_(ofExpression), findings_(findings) {}

  void lint() {
    lintKeys(trigger_, "trigger.", knownKeys, findings_);
    lintFilter();
    lintSwitch("url-filter-is-case-sensitive");
    lintWords({"resource-type", isOfModel<ResourceType>, moreResourceTypes, "all types"});
    lintWords({"load-type", isOfModel<LoadType>, {}, "both types"});
    lintWords({"load-context", isOfNoModel, loadContexts, "all frames"});
    lintMethod();
    lintConditions(trigger_, ofExpression_, findings_);
    for (const auto key : {"load-context"sv, "request-method"sv}) warnOfLoss(key);
    for (const auto key :
         {"top-url-filter-is-case-sensitive"sv, "frame-url-filter-is-case-sensitive"sv}) {
      lintSwitch(key);
      warnOfLoss(key);
    }
  }

 private:
  void lintFilter() {
    const auto value = trigger_["url-filter"];
    const auto filter = value.string();
    if (!value.exists()) {
      return error("url-filter",
                   "The trigger has no \"url-filter\". Write \".*\" to mean every address.");
    }
    if (!filter) {
      return error("url-filter", fmt::format("The \"url-filter\" is {}, but it has to be a text.",
                                             kindOf(value)));
    }
    if (filter->empty()) {
      return error("url-filter",
                   "The \"url-filter\" is empty. Write \".*\" to mean every address.");
    }
    if (const auto reason = lintURLFilter(*filter)) {
      return findings_.add(ofExpression_, "trigger.url-filter",
                           fmt::format("The browser refuses the regular expression: {}.", *reason));
    }
    if (filter->size() > longestURLFilter) {
      warn("url-filter", fmt::format("The regular expression has {} characters. The browser needs "
                                     "seconds for one of more than {}.",
                                     filter->size(), longestURLFilter));
    }
  }

  void lintSwitch(std::string_view key) {
    const auto value = trigger_[key];
    if (!value.exists() || value.isBool()) return;
    warn(key, fmt::format("The value of \"{}\" is {}. It is ignored; write true or false.", key,
                          kindOf(value)));
  }

  void lintWords(const WordList& list) {
    const auto value = trigger_[list.key];
    if (!value.exists()) return;
    const auto words = value.array();
    if (!words) {
      return error(list.key,
                   fmt::format("The value of \"{}\" is {}, but it has to be an array of words.",
                               list.key, kindOf(value)));
    }
    if (words->begin() == words->end()) {
      warn(list.key,
           fmt::format("The array \"{}\" is empty, which stands for {}. Leave the key out "
                       "if that is meant.",
                       list.key, list.everything));
    }
    for (const auto element : *words) lintWord(list, JSONValue(element));
  }

  void lintWord(const WordList& list, const JSONValue& value) {
    const auto word = value.string();
    if (!word) {
      return error(list.key, fmt::format("An element of \"{}\" is {}, but it has to be a word.",
                                         list.key, kindOf(value)));
    }
    if (list.isOfModel(*word)) return;
    if (!contains(list.more, *word)) {
      return error(list.key, fmt::format("{} is not a word for \"{}\" that the browser knows.",
                                         quoted(*word), list.key));
    }
    if (list.isOfModel == isOfNoModel) return;
    warn(list.key,
         fmt::format("{} is known to the browser, but packages do not carry it: it is lost "
                     "when the rule is read into one.",
                     quoted(*word)));
  }

  void lintMethod() {
    const auto value = trigger_["request-method"];
    if (!value.exists()) return;
    const auto method = value.string();
    const bool isKnown =
        method && std::any_of(requestMethods.begin(), requestMethods.end(),
                              [&](auto known) { return equalsIgnoringCase(*method, known); });
    if (isKnown) return;
    error("request-method",
          "The value of \"request-method\" has to be one of \"get\", \"head\", \"options\", "
          "\"trace\", \"put\", \"delete\", \"post\", \"patch\" and \"connect\".");
  }

  void warnOfLoss(std::string_view key) {
    if (!trigger_[key].exists()) return;
    warn(key,
         fmt::format("Packages do not carry \"{}\": the condition is lost when the rule is read "
                     "into one.",
                     key));
  }

  void error(std::string_view key, std::string reason) {
    findings_.error(fmt::format("trigger.{}", key), std::move(reason));
  }
  void warn(std::string_view key, std::string reason) {
    findings_.warn(fmt::format("trigger.{}", key), std::move(reason));
  }

  const JSONValue& trigger_;
  Severity ofExpression_;
  Findings& findings_;
};

}  // namespace

void lintTrigger(const JSONValue& trigger, Severity ofExpression, Findings& findings) {
  if (!trigger.exists()) return findings.error("trigger", "The rule has no \"trigger\".");
  if (!trigger.object()) {
    return findings.error(
        "trigger",
        fmt::format("The \"trigger\" is {}, but it has to be an object.", kindOf(trigger)));
  }
  TriggerLinter(trigger, ofExpression, findings).lint();
}

}  // namespace orvane
