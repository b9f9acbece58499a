#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// `text` in quotes for a sentence on one line: control characters and bytes that are not part of
/// a UTF-8 character are written as escapes, and a long text is cut.
std::string quoted(std::string_view text);

}  // namespace orvane
