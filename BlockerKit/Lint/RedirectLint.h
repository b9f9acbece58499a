#pragma once

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"

namespace orvane {

/// Collects what is wrong with the "redirect" of an action of the type "redirect". Of an absolute
/// URL only the scheme, the plain characters of the host and the port are checked.
void lintRedirect(const JSONValue& redirect, Findings& findings);

}  // namespace orvane
