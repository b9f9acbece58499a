#include "Apps/Companion/DomainInput.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>
#include <idn2.h>

namespace orvane {
namespace {

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n\f\v";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string_view withoutPort(std::string_view authority) {
  const auto colon = authority.rfind(':');
  if (colon == std::string_view::npos) return authority;
  const auto port = authority.substr(colon + 1);
  return std::all_of(port.begin(), port.end(), isDigit) ? authority.substr(0, colon) : authority;
}

/// A user name is only looked for where there is a scheme: elsewhere it is an address of mail.
std::string_view hostOf(std::string_view text) {
  const auto scheme = text.find("://");
  const bool isURL = scheme != std::string_view::npos && text.find_first_of("/?#") > scheme;
  if (isURL) text.remove_prefix(scheme + 3);
  text = text.substr(0, text.find_first_of("/?#"));
  if (isURL) text.remove_prefix(text.rfind('@') + 1);
  return withoutPort(text);
}

std::string inLowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
  });
  return result;
}

/// Of text in ASCII nothing but the case changes: it may hold labels that the library objects to,
/// though browsers do not.
tl::expected<std::string, std::string> inPunycode(std::string_view host) {
  if (isASCII(host)) return inLowerCase(host);
  char* converted = nullptr;
  const int status = idn2_to_ascii_8z(std::string(host).c_str(), &converted,
                                      IDN2_NFC_INPUT | IDN2_NONTRANSITIONAL);
  const std::unique_ptr<char, void (*)(void*)> owner(converted, idn2_free);
  if (status != IDN2_OK) {
    return tl::unexpected(fmt::format("'{}' is no domain name: {}.", host, idn2_strerror(status)));
  }
  return inLowerCase(converted);
}

}  // namespace

tl::expected<std::string, std::string> domainFromInput(std::string_view input) {
  std::string_view host = trimmed(input);
  const auto asterisks = std::min(host.find_first_not_of('*'), host.size());
  const std::string front(host.substr(0, asterisks));
  host = hostOf(host.substr(asterisks));
  return inPunycode(host).map([&](std::string domain) {
    if (domain.ends_with('.')) domain.pop_back();
    return front + domain;
  });
}

}  // namespace orvane
