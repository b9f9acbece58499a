#pragma once

#include "BlockerKit/Model/Blocker.h"

namespace orvane {

/// A blocker that does nothing: it hides an element that no page has. It stands in a list that
/// would be empty otherwise, which the browser refuses.
Blocker placeholderBlocker();

}  // namespace orvane
