#include "BlockerKit/Lint/ElementPositions.h"

#include "BlockerKit/JSON/JSONText.h"

namespace orvane {
namespace {

/// The first position at or behind `at` that is neither white space nor `separator`.
std::size_t skip(std::string_view json, std::size_t at, char separator) {
  at = skipJSONWhitespace(json, at);
  return at < json.size() && json[at] == separator ? skipJSONWhitespace(json, at + 1) : at;
}

}  // namespace

std::vector<std::size_t> elementPositions(std::string_view json, std::size_t array) {
  std::vector<std::size_t> positions;
  std::size_t at = skipJSONWhitespace(json, array + 1);
  while (at < json.size() && json[at] != ']') {
    positions.push_back(at);
    at = skip(json, endOfJSONValue(json, at), ',');
  }
  return positions;
}

std::size_t memberPosition(std::string_view json, std::size_t object, std::size_t index) {
  std::size_t at = skipJSONWhitespace(json, object + 1);
  while (true) {
    at = skip(json, endOfJSONString(json, at), ':');
    if (index == 0) return at;
    --index;
    at = skip(json, endOfJSONValue(json, at), ',');
  }
}

}  // namespace orvane
