#pragma once

#include <span>
#include <string>

#include "BlockerKit/Model/Package.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// Records as compact JSON: no white space between tokens, absent fields left out, "trigger" before
/// "action" and "type" before "selector". Text that is not valid UTF-8 cannot be encoded; that is
/// the one error, and its domain is "JSON".
Expected<std::string> toJSON(const Trigger& trigger);
Expected<std::string> toJSON(const Action& action);
Expected<std::string> toJSON(const Blocker& blocker);
Expected<std::string> toJSON(const Rule& rule);
Expected<std::string> toJSON(const Package& package);

/// A list as a JSON array; of blockers, it is the browser's content-blocker list.
Expected<std::string> toJSON(std::span<const Blocker> blockers);
Expected<std::string> toJSON(std::span<const Rule> rules);
Expected<std::string> toJSON(std::span<const Package> packages);

/// A text as a JSON string, with its quotes.
Expected<std::string> toJSON(std::string_view text);

}  // namespace orvane
