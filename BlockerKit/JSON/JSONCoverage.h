#pragma once

#include "BlockerKit/JSON/JSONDocument.h"

namespace orvane {

/// Whether `whole` says everything that `part` says: has all its members and elements with the same
/// values, and maybe more members. A member that is false says no more than one that is missing.
bool covers(const JSONValue& whole, const JSONValue& part);

}  // namespace orvane
