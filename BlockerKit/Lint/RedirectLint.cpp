#include "BlockerKit/Lint/RedirectLint.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "BlockerKit/Lint/CharacterKinds.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

constexpr std::array<std::string_view, 5> schemesWithHost{"http", "https", "ws", "wss", "ftp"};

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char character) {
           return isLetter(character) || isDigit(character) || character == '+' ||
                  character == '-' || character == '.';
         });
}

/// Whether the text is a number up to 65535, perhaps with a plus sign and white space around it.
bool isPort(std::string_view text) {
  constexpr std::string_view space = " \t\n\r\f\v";
  const auto begin = text.find_first_not_of(space);
  if (begin == std::string_view::npos) return false;
  text = text.substr(begin, text.find_last_not_of(space) - begin + 1);
  if (text.starts_with('+')) text.remove_prefix(1);
  unsigned port = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), port);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() && port <= 0xFFFF;
}

/// What a URL parser sees of a text: nothing around it, no tabs and no line ends.
std::string trimmed(std::string_view text) {
  const auto isBlank = [](char character) { return static_cast<unsigned char>(character) <= 0x20; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  std::string result(text);
  std::erase_if(result, [](char c) { return c == '\t' || c == '\n' || c == '\r'; });
  return result;
}

/// `authority` is what stands between the slashes of a URL.
bool hasValidHost(std::string_view authority) {
  const auto user = authority.rfind('@');
  if (user != std::string_view::npos) authority.remove_prefix(user + 1);
  if (authority.starts_with('[')) return authority.find(']') != std::string_view::npos;
  const auto colon = authority.find(':');
  const auto host = authority.substr(0, colon);
  if (host.empty() || host.find_first_of(" <>[]^|%") != std::string_view::npos) return false;
  const auto port = colon == std::string_view::npos ? "" : authority.substr(colon + 1);
  return port.empty() || (std::all_of(port.begin(), port.end(), isDigit) && isPort(port));
}

void lintURL(std::string_view text, Findings& findings) {
  const std::string url = trimmed(text);
  const std::string scheme = url.substr(0, url.find(':'));
  const auto refuse = [&](std::string_view reason) {
    findings.error("action.redirect", fmt::format("The \"url\" {} {}.", quoted(text), reason));
  };
  if (scheme.size() == url.size() || !isScheme(scheme)) {
    return refuse("is not an absolute URL");
  }
  if (equalsIgnoringCase(scheme, "javascript")) return refuse("may not be a script");
  const bool needsHost = std::any_of(schemesWithHost.begin(), schemesWithHost.end(),
                                     [&](auto known) { return equalsIgnoringCase(scheme, known); });
  if (!needsHost) return;
  const auto begin = std::min(url.find_first_not_of("/\\", scheme.size() + 1), url.size());
  const auto end = std::min(url.find_first_of("/\\?#", begin), url.size());
  if (!hasValidHost(std::string_view(url).substr(begin, end - begin))) {
    refuse("has no valid host");
  }
}

void lintPrefixed(const JSONValue& transform, std::string_view key, char prefix,
                  Findings& findings) {
  const auto text = transform[key].string().value_or("");
  if (text.empty() || text[0] == prefix) return;
  findings.error("action.redirect",
                 fmt::format("The \"{}\" has to be empty or begin with \"{}\".", key, prefix));
}

void lintParameter(const JSONValue& parameter, Findings& findings) {
  if (parameter["key"].string() && parameter["value"].string()) return;
  findings.error("action.redirect",
                 "Each element of \"add-or-replace-parameters\" has to be an object "
                 "with the texts \"key\" and \"value\".");
}

void lintQueryTransform(const JSONValue& query, Findings& findings) {
  if (const auto value = query["add-or-replace-parameters"]; value.exists()) {
    const auto parameters = value.array();
    if (!parameters) {
      return findings.error("action.redirect", "\"add-or-replace-parameters\" has to be an array.");
    }
    for (const auto parameter : *parameters) lintParameter(JSONValue(parameter), findings);
  }
  const auto value = query["remove-parameters"];
  if (!value.exists()) return;
  const auto names = value.array();
  const bool areTexts = names && std::all_of(names->begin(), names->end(),
                                             [](auto name) { return JSONValue(name).string(); });
  if (!areTexts) {
    findings.error("action.redirect", "\"remove-parameters\" has to be an array of texts.");
  }
}

void lintTransform(const JSONValue& transform, Findings& findings) {
  lintPrefixed(transform, "fragment", '#', findings);
  lintPrefixed(transform, "query", '?', findings);
  const auto port = transform["port"].string().value_or("");
  if (!port.empty() && !isPort(port)) {
    findings.error("action.redirect", "The \"port\" has to be empty or a number from 0 to 65535.");
  }
  if (const auto scheme = transform["scheme"].string()) {
    if (!isScheme(*scheme) || equalsIgnoringCase(*scheme, "javascript")) {
      findings.error("action.redirect",
                     fmt::format("{} is not a scheme to redirect to.", quoted(*scheme)));
    }
  }
  lintQueryTransform(transform["query-transform"], findings);
}

}  // namespace

void lintRedirect(const JSONValue& redirect, Findings& findings) {
  if (!redirect.object()) {
    return findings.error("action.redirect",
                          "The action \"redirect\" needs a \"redirect\", which is an object.");
  }
  // The browser obeys the first of the four that fits and ignores the others.
  if (const auto path = redirect["extension-path"].string()) {
    if (path->starts_with('/')) return;
    return findings.error("action.redirect", "The \"extension-path\" has to begin with \"/\".");
  }
  if (redirect["regex-substitution"].string()) return;
  if (const auto transform = redirect["transform"]; transform.object()) {
    return lintTransform(transform, findings);
  }
  if (const auto url = redirect["url"].string()) return lintURL(*url, findings);
  findings.error("action.redirect",
                 "The \"redirect\" needs one of \"extension-path\", "
                 "\"regex-substitution\", \"transform\" and \"url\".");
}

}  // namespace orvane
