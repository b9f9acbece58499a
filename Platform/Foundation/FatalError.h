#pragma once

#include <string_view>

namespace orvane {

/// Stops the process because of a state that cannot happen. Before that, "Fatal error: " with the
/// message, `source` (the component, such as "BlockerKit/Model") and the caller's line go to
/// standard error as one line.
[[noreturn]] void fatalError(std::string_view message, std::string_view source,
                             int line = __builtin_LINE());

}  // namespace orvane
