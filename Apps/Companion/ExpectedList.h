#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Process/Process.h"

namespace orvane {

/// The list that the browser should have.
struct ExpectedList {
  /// The blockers that are switched on, also while blocking is paused.
  std::size_t enabledBlockers;
  /// The `contentHash` of the list; empty when it cannot be encoded.
  std::string hash;
};

/// The list that the packages of the `catalogue`, the preferences and "paused" demand now.
ExpectedList expectedList(Process& process, const std::vector<Package>& catalogue);

}  // namespace orvane
