#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the trigger of a rule.
void lintTrigger(const JSONValue& trigger, Findings& findings);

}  // namespace orvane
