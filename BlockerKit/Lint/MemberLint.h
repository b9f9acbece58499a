#pragma once

#include <span>
#include <string_view>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Warns of keys of the object `json` that are not `known` and of keys that it has twice. `path`
/// is the object's place in the rule, with the dot behind it, or empty.
void lintKeys(const JSONValue& json, std::string_view path, std::span<const std::string_view> known,
              Findings& findings);

/// What kind of value this is, with its article: "a number".
std::string_view kindOf(const JSONValue& json);

}  // namespace orvane
