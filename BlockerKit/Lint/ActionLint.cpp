#include "BlockerKit/Lint/ActionLint.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "BlockerKit/Lint/HeaderActionLint.h"
#include "BlockerKit/Lint/MemberLint.h"
#include "BlockerKit/Lint/RedirectLint.h"
#include "BlockerKit/Lint/SelectorLint.h"
#include "BlockerKit/Model/Action.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

using namespace std::literals;

constexpr std::array plainKeys{"type"sv, "selector"sv};
constexpr std::array notifyKeys{"type"sv, "notification"sv};
constexpr std::array redirectKeys{"type"sv, "redirect"sv};
constexpr std::array headerKeys{"type"sv, "priority"sv, "request-headers"sv, "response-headers"sv};

std::span<const std::string_view> keysOf(std::string_view type) {
  if (type == "notify") return notifyKeys;
  if (type == "redirect") return redirectKeys;
  if (type == "modify-headers") return headerKeys;
  return plainKeys;
}

bool lintHiding(const JSONValue& action, Findings& findings) {
  const auto value = action["selector"];
  const auto selector = value.string();
  if (!value.exists()) {
    findings.error("action.selector", "The action \"css-display-none\" has no \"selector\".");
    return false;
  }
  if (!selector) {
    findings.error("action.selector",
                   fmt::format("The \"selector\" is {}, but it has to be a text.", kindOf(value)));
    return false;
  }
  const auto reason = lintSelector(*selector);
  if (!reason) return false;
  findings.warn("action.selector",
                fmt::format("The selector is not valid: {}. The browser drops the whole rule in "
                            "silence, with all selectors of the list.",
                            *reason));
  return true;
}

void lintForeignType(const JSONValue& action, std::string_view type, Findings& findings) {
  if (type == "notify") {
    if (!action["notification"].string()) {
      findings.error("action.notification",
                     "The action \"notify\" needs a \"notification\", which is a text.");
    }
  } else if (type == "redirect") {
    lintRedirect(action["redirect"], findings);
  } else if (type == "modify-headers") {
    lintHeaderAction(action, findings);
  } else if (type != "ignore-following-rules") {
    return findings.error("action.type",
                          fmt::format("{} is not an action that the browser knows.", quoted(type)));
  }
  findings.warn("action.type",
                fmt::format("{} is known to the browser, but packages do not carry it: the rule is "
                            "dropped when it is read into one.",
                            quoted(type)));
}

}  // namespace

bool lintAction(const JSONValue& action, Findings& findings) {
  if (!action.object()) {
    findings.error("action", action.exists()
                                 ? fmt::format("The \"action\" is {}, but it has to be an object.",
                                               kindOf(action))
                                 : "The rule has no \"action\".");
    return false;
  }
  const auto value = action["type"];
  const auto word = value.string();
  lintKeys(action, "action.", keysOf(word.value_or("")), findings);
  if (!word) {
    findings.error("action.type",
                   value.exists()
                       ? fmt::format("The \"type\" of the action is {}, but it has to be a "
                                     "word.",
                                     kindOf(value))
                       : "The action has no \"type\".");
    return false;
  }
  const auto type = fromRawValue<ActionType>(*word);
  if (!type) {
    lintForeignType(action, *word, findings);
    return false;
  }
  if (type == ActionType::Hide) return lintHiding(action, findings);
  if (action["selector"].exists()) {
    findings.warn("action.selector",
                  fmt::format("The action {} has no use for a \"selector\"; it is "
                              "ignored. Only \"css-display-none\" has one.",
                              quoted(*word)));
  }
  return false;
}

}  // namespace orvane
