#pragma once

#include <cstddef>
#include <vector>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Lint/Finding.h"
#include "BlockerKit/Model/Blocker.h"

namespace orvane {

/// The browser refuses a list of more blockers than this.
inline constexpr std::size_t mostBlockersInList = 150'000;

/// What the lint has to say about one rule of the browser's list.
struct BlockerLint {
  std::vector<Finding> findings;
  /// The browser leaves this rule out in silence, unless it refuses it.
  bool isDropped = false;

  /// The browser refuses every list that holds the rule.
  bool isRefused() const;
};

/// Judges one element of the browser's list, whatever kind of value it is.
BlockerLint lintContentBlocker(const JSONValue& blocker);

/// Judges the element of the list that the record becomes. A record that cannot be encoded is
/// refused.
BlockerLint lintContentBlocker(const Blocker& blocker);

}  // namespace orvane
