#pragma once

#include <cstddef>
#include <string_view>

namespace orvane {

/// JSON as text, for code that must know where a value stands. Positions are in bytes.
/// These functions find the extent of values; they do not judge whether the text is valid.

/// The position behind the string whose opening quote is at `begin`, or `npos` when it never ends.
std::size_t endOfJSONString(std::string_view text, std::size_t begin);

/// The position behind the value that begins at `begin`, or `npos` when it never ends. Braces and
/// brackets inside of strings do not count.
std::size_t endOfJSONValue(std::string_view text, std::size_t begin);

/// The first position at or behind `begin` that holds no white space.
std::size_t skipJSONWhitespace(std::string_view text, std::size_t begin);

/// `text` without a byte order mark at its start.
std::string_view withoutByteOrderMark(std::string_view text);

}  // namespace orvane
