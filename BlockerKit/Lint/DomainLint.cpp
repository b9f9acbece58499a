#include "BlockerKit/Lint/DomainLint.h"

#include <algorithm>

#include <fmt/format.h>

#include "BlockerKit/Lint/CharacterKinds.h"
#include "BlockerKit/Lint/URLFilterLint.h"
#include "BlockerKit/Support/Quoted.h"

namespace orvane {
namespace {

DomainProblem problem(Severity severity, std::string_view domain, std::string_view reason) {
  return {severity, fmt::format("The domain {} {}", quoted(domain), reason)};
}

/// The regular expression that the browser makes of a domain. It leaves some special characters
/// as they are.
std::string expression(std::string_view domain) {
  std::string result = "^[^:]+://";
  if (domain.starts_with('*')) {
    result += "([^:/]+\\.)?";
    domain.remove_prefix(1);
  }
  for (const char character : domain) {
    if (std::string_view("\\{}.?*$").find(character) != std::string_view::npos) result += '\\';
    result += character;
  }
  return result + "[:/]";
}

bool fitsHostName(char character) {
  return isLower(character) || isDigit(character) || character == '.' || character == '-' ||
         character == '_';
}

}  // namespace

std::optional<DomainProblem> lintDomain(std::string_view domain, Severity ofExpression) {
  if (!std::all_of(domain.begin(), domain.end(), isASCII)) {
    return problem(Severity::Error, domain, "is not ASCII. Write it in Punycode (\"xn--…\").");
  }
  if (std::any_of(domain.begin(), domain.end(), isUpper)) {
    return problem(Severity::Error, domain, "has capital letters. Write it in lower case.");
  }
  if (lintURLFilter(expression(domain))) {
    return problem(ofExpression, domain,
                   "holds characters that no host name has and that the browser refuses.");
  }
  const std::string_view host = domain.substr(domain.starts_with('*') ? 1 : 0);
  if (host.empty()) {
    return problem(Severity::Warning, domain,
                   "matches no site. Leave the key out to mean them all.");
  }
  if (host.starts_with('.')) {
    return problem(
        Severity::Warning, domain,
        fmt::format("matches no site. Write \"*{}\" to mean the site and its subdomains.",
                    host.substr(1)));
  }
  if (!std::all_of(host.begin(), host.end(), fitsHostName)) {
    return problem(Severity::Warning, domain,
                   "matches no site, because it is not a host name. Write the host alone, without "
                   "scheme, port or path.");
  }
  return std::nullopt;
}

}  // namespace orvane
