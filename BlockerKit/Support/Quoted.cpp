#include "BlockerKit/Support/Quoted.h"

#include <algorithm>

#include <fmt/format.h>
#include <simdjson.h>

namespace orvane {
namespace {

constexpr std::size_t longest = 60;

bool isContinuation(char character) {
  return (static_cast<unsigned char>(character) & 0xC0) == 0x80;
}

}  // namespace

std::string quoted(std::string_view text) {
  std::size_t end = std::min(text.size(), longest);
  while (end > 0 && end < text.size() && isContinuation(text[end])) --end;
  const std::string_view shown = text.substr(0, end);
  const bool isUTF8 = simdjson::validate_utf8(shown.data(), shown.size());
  std::string result = "\"";
  for (const char character : shown) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isPrintable = byte >= 0x20 && byte != 0x7F && (isUTF8 || byte < 0x80);
    if (isPrintable) {
      result.push_back(character);
    } else {
      result += fmt::format("\\x{:02x}", byte);
    }
  }
  return result + (end < text.size() ? "…\"" : "\"");
}

}  // namespace orvane
