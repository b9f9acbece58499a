#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the action of a rule. True when the browser drops the rule in
/// silence, because its selector is not valid.
bool lintAction(const JSONValue& action, Findings& findings);

}  // namespace orvane
