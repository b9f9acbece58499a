#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the conditions on the page ("if-domain" and the like) of a trigger.
/// `ofExpression` is the severity of a regular expression that the browser refuses.
void lintConditions(const JSONValue& trigger, Severity ofExpression, Findings& findings);

}  // namespace orvane
