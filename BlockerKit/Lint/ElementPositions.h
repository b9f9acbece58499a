#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace orvane {

/// Where things stand in a valid JSON text, in bytes.

/// The begin of every element of the array that begins at `array`.
std::vector<std::size_t> elementPositions(std::string_view json, std::size_t array);

/// The begin of the value of the member at `index` of the object that begins at `object`.
std::size_t memberPosition(std::string_view json, std::size_t object, std::size_t index);

}  // namespace orvane
