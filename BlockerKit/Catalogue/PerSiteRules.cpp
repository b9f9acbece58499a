#include "BlockerKit/Catalogue/PerSiteRules.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/Support/DisplayInformation.h"
#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

constexpr std::array<std::string_view, 29> forbiddenCharacters{"!",  "@",  "#", "$", "%",
                                                               "^",  "&",  "(", ")", "+",
                                                               "=",  "`",  "[", "]", "{",
                                                               "}",  "\\", "|", ";", ":",
                                                               "\"", "'",  ",", "~", "\xE2\x80\xA6",
                                                               "<",  ">",  "?", "/"};

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

bool isValidDomain(std::string_view domain) {
  if (!contains(domain, ".")) return false;
  if (domain.starts_with('.') || domain.ends_with('.')) return false;
  if (domain.starts_with('-') || domain.ends_with('-')) return false;
  if (contains(domain, "*") && !domain.starts_with('*')) return false;
  if (contains(domain, ".*") || contains(domain, "*.")) return false;
  return std::none_of(forbiddenCharacters.begin(), forbiddenCharacters.end(),
                      [&](std::string_view character) { return contains(domain, character); });
}

bool covers(std::string pattern, std::string_view host) {
  if (!pattern.starts_with('*')) return pattern == host;
  std::erase(pattern, '*');
  return host.ends_with(pattern);
}

std::string described(const std::vector<std::string>& domains) {
  return domains.size() == 1 ? domains.front() : fmt::format("{} domains", domains.size());
}

Trigger everyURL(std::optional<DomainFilter> domainFilter) {
  return {.urlFilter = ".*", .caseSensitive = true, .domainFilter = std::move(domainFilter)};
}

Trigger everyURLOf(const std::vector<std::string>& domains) {
  return everyURL(DomainFilter{DomainFilterType::IfDomain, domains});
}

}  // namespace

PerSiteRules::PerSiteRules(Platform& platform, DataManager& dataManager)
    : platform_(platform), dataManager_(dataManager) {}

const Package* PerSiteRules::whitelistPackage() {
  const auto* package = dataManager_.configurablePackage(ConfigurablePackageType::Whitelist);
  if (package == nullptr) {
    platform_.standardOutput.print("Couldn't find the Whitelist package");
  }
  return package;
}

const Package* PerSiteRules::makeHttpsPackage() {
  const auto* package = dataManager_.configurablePackage(ConfigurablePackageType::makeHttps);
  if (package == nullptr) {
    platform_.standardOutput.print("Couldn't find the Make HTTPS package");
  }
  return package;
}

bool PerSiteRules::warn(std::string_view message) {
  displayInformation(platform_.notificationCenter, message, /*warning=*/true);
  return false;
}

bool PerSiteRules::validateDomains(const std::vector<std::string>& domains) {
  if (domains.empty()) return warn("Domain list is empty");
  for (const auto& domain : domains) {
    if (domain == "localhost") continue;
    if (domain.empty()) return warn("Domain field is empty");
    if (!isValidDomain(domain)) return warn(fmt::format("Invalid domain: '{}'", domain));
  }
  return true;
}

const Rule* PerSiteRules::ruleCovering(std::string_view host, const PackageProvider& provider) {
  const auto* package = provider();
  if (package == nullptr) return nullptr;
  for (const auto& rule : package->rules) {
    const auto& filter = rule.blocker.trigger.domainFilter;
    if (!filter) continue;
    const bool isCovered =
        std::any_of(filter->values.begin(), filter->values.end(),
                    [&](const std::string& pattern) { return covers(pattern, host); });
    if (isCovered) return &rule;
  }
  return nullptr;
}

std::optional<Rule> PerSiteRules::coveringRule(std::string_view host,
                                               const PackageProvider& provider) {
  const auto* rule = ruleCovering(host, provider);
  if (rule == nullptr) return std::nullopt;
  const auto& package = *provider();
  auto& preferences = dataManager_.preferenceManager();
  if (preferences.userPreferenceIsDisabledForPackage(package)) return std::nullopt;
  if (preferences.userPreferenceIsDisabledForRule(*rule, package)) return std::nullopt;
  return *rule;
}

std::optional<Rule> PerSiteRules::whitelistRuleForDomain(std::string_view host) {
  return coveringRule(host, [this] { return whitelistPackage(); });
}

std::optional<Rule> PerSiteRules::makeHttpsRuleForDomain(std::string_view host) {
  return coveringRule(host, [this] { return makeHttpsPackage(); });
}

std::optional<Rule> PerSiteRules::whitelistRuleForDomains(const std::vector<std::string>& domains,
                                                          const std::optional<std::string>& id,
                                                          const std::optional<std::string>& name) {
  if (!validateDomains(domains)) return std::nullopt;
  return make(id, name, fmt::format("Whitelist {}", described(domains)), everyURLOf(domains),
              Action::make(ActionType::IgnorePreviousRules));
}

std::optional<Rule> PerSiteRules::makeHttpsRuleForDomains(const std::vector<std::string>& domains,
                                                          const std::optional<std::string>& id,
                                                          const std::optional<std::string>& name) {
  if (!validateDomains(domains)) return std::nullopt;
  return make(id, name, fmt::format("Make {} HTTPS-only", described(domains)), everyURLOf(domains),
              Action::make(ActionType::makeHttps));
}

std::optional<Rule> PerSiteRules::hideElementRule(const std::string& selector,
                                                  const std::optional<DomainFilter>& domainFilter,
                                                  const std::optional<std::string>& id,
                                                  const std::optional<std::string>& name) {
  if (selector.empty()) {
    warn("CSS Selector is empty");
    return std::nullopt;
  }
  if (domainFilter && !validateDomains(domainFilter->values)) return std::nullopt;
  return make(id, name, fmt::format("Hide {}", selector), everyURL(domainFilter),
              Action::make(ActionType::Hide, selector));
}

Rule PerSiteRules::make(const std::optional<std::string>& id,
                        const std::optional<std::string>& name, const std::string& generatedName,
                        Trigger trigger, std::optional<Action> action) {
  if (!action) fatalError("An action cannot be made", "BlockerKit/DataManager");
  const bool isNamed = name && !name->empty();
  return {id ? *id : platform_.makeUUID(), isNamed ? *name : generatedName,
          Blocker{std::move(trigger), std::move(*action)}};
}

}  // namespace orvane
