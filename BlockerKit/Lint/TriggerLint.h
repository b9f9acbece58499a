#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the trigger of a rule. `ofExpression` is the severity of a regular
/// expression that the browser refuses: it looks at none in a rule that it drops.
void lintTrigger(const JSONValue& trigger, Severity ofExpression, Findings& findings);

}  // namespace orvane
