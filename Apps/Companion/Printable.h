#pragma once

#include <string>

namespace orvane {

/// `text` with a question mark for every control character: what stands in a file must not be able
/// to send commands to the terminal of whoever looks at it.
std::string printable(std::string text);

}  // namespace orvane
