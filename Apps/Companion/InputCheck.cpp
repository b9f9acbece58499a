#include "Apps/Companion/InputCheck.h"

#include <fmt/format.h>

#include "Apps/Companion/DomainInput.h"
#include "Apps/Companion/Failure.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "BlockerKit/Support/DisplayInformation.h"

namespace orvane {
namespace {

std::string suggestion(const std::string& domain) {
  if (!domain.starts_with("*.")) return "";
  return fmt::format("; '*{}' means the domain and all below it", domain.substr(2));
}

}  // namespace

std::string GivenDomain::note() const {
  return given == domain ? "" : fmt::format("'{}' is read as {}.", given, domain);
}

tl::expected<GivenDomain, std::string> InputCheck::domain(const std::string& given) {
  auto domain = domainFromInput(given);
  if (!domain) return tl::unexpected(domain.error());
  std::string warning;
  const auto observation = platform_.notificationCenter.addObserver(
      displayInformationNotification, [&](const NSNotification& notification) {
        warning = std::get<std::string>(notification.userInfo.at("message"));
      });
  if (!rules_.validateDomains({*domain})) {
    return tl::unexpected(fmt::format("{}{}.", warning, suggestion(*domain)));
  }
  return GivenDomain{given, std::move(*domain)};
}

tl::expected<std::vector<GivenDomain>, std::vector<std::string>> InputCheck::domains(
    const std::vector<std::string>& given) {
  std::vector<GivenDomain> domains;
  std::vector<std::string> errors;
  for (const auto& text : given) {
    auto checked = domain(text);
    if (checked) {
      domains.push_back(std::move(*checked));
    } else {
      errors.push_back(std::move(checked.error()));
    }
  }
  if (!errors.empty()) return tl::unexpected(std::move(errors));
  return domains;
}

std::optional<std::string> InputCheck::objection(const Rule& rule) {
  const auto lint = lintContentBlocker(rule.blocker);
  const bool isAccepted = !lint.isRefused() && !lint.isDropped;
  for (const auto& finding : lint.findings) {
    if (isAccepted) {
      complain(finding.reason);
    } else if (lint.isDropped || finding.severity == Severity::Error) {
      return finding.reason;
    }
  }
  if (isAccepted) return std::nullopt;
  return "The browser does not take the rule.";
}

std::vector<std::string> domainsOf(const std::vector<GivenDomain>& given) {
  std::vector<std::string> domains;
  domains.reserve(given.size());
  for (const auto& item : given) domains.push_back(item.domain);
  return domains;
}

}  // namespace orvane
