#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the conditions on the page ("if-domain" and the like) of a trigger.
void lintConditions(const JSONValue& trigger, Findings& findings);

}  // namespace orvane
