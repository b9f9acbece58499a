#include "Platform/Foundation/NSURL.h"

#include <algorithm>

#include <simdjson.h>

namespace orvane {
namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetterOrDigit(char c) { return isLetter(c) || isDigit(c); }

bool isScheme(std::string_view text) {
  const auto mayStandInScheme = [](char c) {
    return isLetterOrDigit(c) || c == '+' || c == '-' || c == '.';
  };
  return !text.empty() && isLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), mayStandInScheme);
}

std::string_view until(std::string_view text, std::string_view ends) {
  return text.substr(0, text.find_first_of(ends));
}

/// The host in what stands between the slashes and the path.
std::string_view hostIn(std::string_view authority) {
  const auto hostAndPort = authority.substr(authority.rfind('@') + 1);
  if (hostAndPort.starts_with('[')) return until(hostAndPort.substr(1), "]");
  return until(hostAndPort, ":");
}

}  // namespace

std::optional<NSURL> NSURL::fromString(std::string_view text) {
  const auto mayStandInURL = [](char c) { return c >= ' ' && c <= '~'; };
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || !isScheme(text.substr(0, colon)) ||
      !std::all_of(text.begin(), text.end(), mayStandInURL)) {
    return std::nullopt;
  }
  return NSURL(text);
}

NSURL::NSURL(std::string_view text) : absoluteString_(text) {
  const auto rest = text.substr(text.find(':') + 1);
  if (!rest.starts_with("//")) return;
  const auto host = hostIn(until(rest.substr(2), "/?#"));
  if (!host.empty()) host_ = host;
}

std::optional<std::string> addingPercentEncodingForURLQuery(std::string_view text) {
  constexpr std::string_view allowedPunctuation = "-._~!$&'()*+,;=:@/?";
  constexpr std::string_view digits = "0123456789ABCDEF";
  if (!simdjson::validate_utf8(text)) return std::nullopt;
  std::string result;
  for (const char c : text) {
    if (isLetterOrDigit(c) || allowedPunctuation.find(c) != std::string_view::npos) {
      result += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      result += {'%', digits[byte / 16], digits[byte % 16]};
    }
  }
  return result;
}

}  // namespace orvane
