#include "BlockerKit/Lint/HeaderActionLint.h"

#include <string>
#include <string_view>

#include <fmt/format.h>

namespace orvane {
namespace {

/// The first number that is beyond the integers the browser takes for a priority.
constexpr double priorityLimit = 2147483648.0;

void lintOperation(const JSONValue& operation, const std::string& path, Findings& findings) {
  if (!operation.object()) {
    return findings.error(path,
                          "Each element has to be an object with \"operation\" and \"header\".");
  }
  const auto kind = operation["operation"].string().value_or("");
  const bool setsValue = kind == "set" || kind == "append";
  if (!setsValue && kind != "remove") {
    findings.error(path, "The \"operation\" has to be \"set\", \"append\" or \"remove\".");
  }
  if (!operation["header"].string()) {
    findings.error(path, "The operation needs a \"header\", which is a text.");
  }
  if (setsValue && !operation["value"].string()) {
    findings.error(path,
                   fmt::format("The operation \"{}\" needs a \"value\", which is a text.", kind));
  }
}

void lintOperations(const JSONValue& action, std::string_view key, Findings& findings) {
  const auto value = action[key];
  if (!value.exists()) return;
  const std::string path = fmt::format("action.{}", key);
  const auto operations = value.array();
  if (!operations) return findings.error(path, fmt::format("\"{}\" has to be an array.", key));
  for (const auto operation : *operations) lintOperation(JSONValue(operation), path, findings);
}

}  // namespace

void lintHeaderAction(const JSONValue& action, Findings& findings) {
  const auto priority = action["priority"].number();
  if (!priority || *priority <= -1 || *priority >= priorityLimit) {
    findings.error(
        "action.priority",
        "The action \"modify-headers\" needs a \"priority\", which is a positive integer.");
  }
  lintOperations(action, "request-headers", findings);
  lintOperations(action, "response-headers", findings);
}

}  // namespace orvane
