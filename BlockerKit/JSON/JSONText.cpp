#include "BlockerKit/JSON/JSONText.h"

namespace orvane {

std::size_t endOfJSONString(std::string_view text, std::size_t begin) {
  for (std::size_t at = begin + 1; at < text.size(); ++at) {
    if (text[at] == '"') return at + 1;
    if (text[at] == '\\') ++at;
  }
  return std::string_view::npos;
}

std::size_t endOfJSONValue(std::string_view text, std::size_t begin) {
  std::size_t depth = 0;
  std::size_t at = begin;
  while (at < text.size()) {
    switch (text[at]) {
      case '"':
        at = endOfJSONString(text, at);
        if (at == std::string_view::npos || depth == 0) return at;
        continue;
      case '{':
      case '[':
        ++depth;
        break;
      case '}':
      case ']':
        // A number or a word ends where the collection around it ends.
        if (depth == 0) return at;
        if (--depth == 0) return at + 1;
        break;
      case ',':
      case ' ':
      case '\t':
      case '\n':
      case '\r':
        if (depth == 0) return at;
        break;
      default:
        break;
    }
    ++at;
  }
  return depth == 0 && at > begin ? at : std::string_view::npos;
}

std::size_t skipJSONWhitespace(std::string_view text, std::size_t begin) {
  const std::size_t found = text.find_first_not_of(" \t\n\r", begin);
  return found == std::string_view::npos ? text.size() : found;
}

std::string_view withoutByteOrderMark(std::string_view text) {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  return text.starts_with(mark) ? text.substr(mark.size()) : text;
}

}  // namespace orvane
