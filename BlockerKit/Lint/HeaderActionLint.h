#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with an action of the type "modify-headers".
void lintHeaderAction(const JSONValue& action, Findings& findings);

}  // namespace orvane
