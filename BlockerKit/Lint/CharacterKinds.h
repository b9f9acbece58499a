#pragma once

#include <string_view>

namespace orvane {

/// ASCII kinds that do not depend on a locale; every other character is of no kind.
constexpr bool isDigit(char character) { return character >= '0' && character <= '9'; }
constexpr bool isUpper(char character) { return character >= 'A' && character <= 'Z'; }
constexpr bool isLower(char character) { return character >= 'a' && character <= 'z'; }
constexpr bool isLetter(char character) { return isUpper(character) || isLower(character); }
constexpr bool isASCII(char character) { return static_cast<unsigned char>(character) < 0x80; }

constexpr char lowered(char character) {
  return isUpper(character) ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool isHexDigit(char character) {
  return isDigit(character) || (lowered(character) >= 'a' && lowered(character) <= 'f');
}

/// The value of a hexadecimal digit.
constexpr unsigned hexValue(char digit) {
  return static_cast<unsigned>(isDigit(digit) ? digit - '0' : lowered(digit) - 'a' + 10);
}

/// Whether `text` is `lowerCase` when upper and lower case are the same.
constexpr bool equalsIgnoringCase(std::string_view text, std::string_view lowerCase) {
  if (text.size() != lowerCase.size()) return false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (lowered(text[at]) != lowerCase[at]) return false;
  }
  return true;
}

}  // namespace orvane
