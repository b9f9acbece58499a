#pragma once

#include <vector>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// What is wrong with a rule of a package, its content included: an object with "id", "name" and
/// "content". That another rule has the same id is not seen here.
std::vector<Finding> lintRuleRecord(const JSONValue& rule);

/// What is wrong with a package itself; its rules are not looked at.
std::vector<Finding> lintPackageRecord(const JSONValue& package);

}  // namespace orvane
