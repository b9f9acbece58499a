#include "BlockerKit/Lint/JSONError.h"

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "BlockerKit/JSON/JSONText.h"

namespace orvane {
namespace {

/// The browser refuses a value inside of more arrays and objects than this.
constexpr std::size_t deepest = 1000;

std::string withoutFullStop(std::string text) {
  if (text.ends_with('.')) text.pop_back();
  return text;
}

}  // namespace

std::optional<JSONError> findJSONError(std::string_view text) {
  rapidjson::MemoryStream stream(text.data(), text.size());
  rapidjson::BaseReaderHandler<> handler;
  rapidjson::Reader reader;
  // The iterative parser does not run out of stack on deep nesting.
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  const auto result = reader.Parse<flags>(stream, handler);
  if (!result.IsError()) return std::nullopt;
  return JSONError{result.Offset(), withoutFullStop(rapidjson::GetParseError_En(result.Code()))};
}

bool isNestedTooDeeply(std::string_view json) {
  std::size_t depth = 0;
  for (std::size_t at = 0; at < json.size(); ++at) {
    const char character = json[at];
    if (character == '}' || character == ']') {
      --depth;
      continue;
    }
    if (std::string_view(" \t\n\r,:").find(character) != std::string_view::npos) continue;
    if (depth > deepest) return true;
    if (character == '{' || character == '[') ++depth;
    if (character == '"') at = endOfJSONString(json, at) - 1;
  }
  return false;
}

}  // namespace orvane
