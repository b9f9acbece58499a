#include "BlockerKit/Lint/MemberLint.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "BlockerKit/Support/Quoted.h"

namespace orvane {

void lintKeys(const JSONValue& json, std::string_view path, std::span<const std::string_view> known,
              Findings& findings) {
  const auto members = json.object();
  if (!members) return;
  std::unordered_set<std::string_view> seen;
  for (const auto member : *members) {
    const std::string_view key = member.key;
    if (!seen.insert(key).second) {
      findings.warn(fmt::format("{}{}", path, key),
                    fmt::format("The key {} is there more than once. Only the last one counts.",
                                quoted(key)));
    } else if (std::find(known.begin(), known.end(), key) == known.end()) {
      findings.warn(
          fmt::format("{}{}", path, key),
          fmt::format("The key {} is not known. It is ignored; check its spelling.", quoted(key)));
    }
  }
}

std::string_view kindOf(const JSONValue& json) {
  if (!json.exists()) return "missing";
  if (json.string()) return "a text";
  if (json.array()) return "an array";
  if (json.object()) return "an object";
  if (json.isBool()) return "true or false";
  return json.number() ? "a number" : "null";
}

}  // namespace orvane
