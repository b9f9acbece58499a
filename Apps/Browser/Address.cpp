#include "Apps/Browser/Address.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

#include <gio/gio.h>

namespace orvane {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isInHostLabel(char c) {
  return isLetter(c) || isDigit(c) || c == '-' || c == '_' || static_cast<signed char>(c) < 0;
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view trimmed(std::string_view text) {
  const auto start = text.find_first_not_of(blanks);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

bool isPort(std::string_view text) {
  unsigned port = 0;
  const auto* end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, port);
  return read.ec == std::errc() && read.ptr == end && port <= 65'535;
}

/// A host and an optional port, as they stand in a URL.
struct Authority {
  std::string_view host;
  std::string_view port;  ///< with its colon
};

Authority split(std::string_view text) {
  const auto bracket = text.starts_with('[') ? text.find(']') : 0;
  const auto colon = bracket == std::string_view::npos ? bracket : text.find(':', bracket);
  if (colon == std::string_view::npos) return {text, {}};
  return {text.substr(0, colon), text.substr(colon)};
}

bool isNumericAddress(std::string_view host) {
  if (host.starts_with('[') && host.ends_with(']')) {
    host.remove_prefix(1);
    host.remove_suffix(1);
    return host.find(':') != std::string_view::npos &&
           g_hostname_is_ip_address(std::string(host).c_str()) != FALSE;
  }
  return host.find(':') == std::string_view::npos &&
         g_hostname_is_ip_address(std::string(host).c_str()) != FALSE;
}

/// Labels with dots between them, the last of which is no number; how many they are, or 0.
std::size_t labelsOf(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  std::size_t count = 0;
  bool isNumber = true;
  while (true) {
    const auto dot = host.find('.');
    const auto label = host.substr(0, dot);
    if (label.empty() || !std::all_of(label.begin(), label.end(), isInHostLabel)) return 0;
    isNumber = std::all_of(label.begin(), label.end(), isDigit);
    ++count;
    if (dot == std::string_view::npos) break;
    host.remove_prefix(dot + 1);
  }
  return isNumber ? 0 : count;
}

bool isAuthority(const Authority& authority) {
  if (!authority.port.empty() && !isPort(authority.port.substr(1))) return false;
  return isNumericAddress(authority.host) || labelsOf(authority.host) > 0;
}

/// Blanks may not stand in a URL.
std::string withoutBlanks(std::string_view text) {
  std::string encoded;
  for (const char c : text) {
    if (c == ' ') {
      encoded += "%20";
    } else if (blanks.find(c) == std::string_view::npos) {
      encoded += c;
    }
  }
  return encoded;
}

std::string_view upToPath(std::string_view text) {
  return text.substr(0, text.find_first_of("/?#"));
}

std::optional<std::string> webURL(std::string_view scheme, std::string_view rest) {
  constexpr std::string_view slashes = "//";
  if (!rest.starts_with(slashes)) return std::nullopt;
  auto authority = upToPath(rest.substr(slashes.size()));
  // The name of a user may precede the host.
  authority.remove_prefix(authority.rfind('@') + 1);
  if (!isAuthority(split(authority))) return std::nullopt;
  return std::string(scheme) + ":" + withoutBlanks(rest);
}

std::optional<std::string> hostURL(std::string_view text) {
  const auto name = upToPath(text);
  const auto authority = split(name);
  if (!isAuthority(authority)) return std::nullopt;
  const auto host = lowerCase(authority.host);
  const bool isNear = isNumericAddress(host) || host == "localhost" || host.ends_with(".localhost");
  const bool isOneWord = !isNear && labelsOf(host) == 1;
  // A single word may be anything, and with a number behind it a telephone's.
  if (isOneWord && !text.substr(name.size()).starts_with('/')) return std::nullopt;
  // Machines nearby seldom have a certificate.
  return (isNear || isOneWord ? "http://" : "https://") + withoutBlanks(text);
}

std::optional<std::string> fileURL(std::string_view path) {
  const std::unique_ptr<gchar, decltype(&g_free)> url(
      g_filename_to_uri(std::string(path).c_str(), nullptr, nullptr), g_free);
  return url ? std::optional<std::string>(url.get()) : std::nullopt;
}

}  // namespace

std::string schemeOf(std::string_view url) {
  const auto colon = url.find(':');
  if (colon == std::string_view::npos || colon == 0 || !isLetter(url.front())) return {};
  const auto scheme = url.substr(0, colon);
  const bool isScheme = std::all_of(scheme.begin(), scheme.end(), [](char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
  });
  return isScheme ? lowerCase(scheme) : std::string();
}

bool isShownHere(std::string_view scheme) {
  constexpr std::array<std::string_view, 8> shown{"http", "https", "file",   "about",
                                                  "data", "blob",  "webkit", "javascript"};
  return std::find(shown.begin(), shown.end(), scheme) != shown.end();
}

std::optional<std::string> urlOfAddress(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('/')) return fileURL(text);
  if (auto url = hostURL(text)) return url;
  const auto scheme = schemeOf(text);
  if (scheme.empty()) return std::nullopt;
  const auto rest = text.substr(scheme.size() + 1);
  if (scheme == "http" || scheme == "https") return webURL(scheme, rest);
  const bool isLocal =
      scheme == "about" || scheme == "data" || (scheme == "file" && rest.starts_with("///"));
  if (!isLocal || rest.empty()) return std::nullopt;
  return scheme + ":" + withoutBlanks(rest);
}

}  // namespace orvane
