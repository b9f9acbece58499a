#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "BlockerKit/Catalogue/PerSiteRules.h"

namespace orvane {

/// One of the two packages that list sites, and how the user is told of it.
struct SiteList {
  ConfigurablePackageType type;
  /// The subcommand.
  std::string_view command;
  /// "example.com" + " is" + `state`.
  std::string_view state;
  std::optional<Rule> (PerSiteRules::*makeRule)(const std::vector<std::string>& domains,
                                                const std::optional<std::string>& id,
                                                const std::optional<std::string>& name);
};

inline constexpr SiteList whitelist{ConfigurablePackageType::Whitelist, "whitelist",
                                    "on the whitelist", &PerSiteRules::whitelistRuleForDomains};
inline constexpr SiteList httpsList{ConfigurablePackageType::makeHttps, "https", "HTTPS-only",
                                    &PerSiteRules::makeHttpsRuleForDomains};

/// An entry of a rule by which it covers a site.
struct Covering {
  const Rule* rule;
  std::string entry;
};

/// The first rule of the package that, by itself, covers the site, and its entry that does so. Only
/// rules that apply on the sites that they list are looked at.
std::optional<Covering> coveringEntry(const Package& package, std::string_view site);

/// Whether the rule applies on nothing but the sites that it lists.
bool listsSites(const Rule& rule);

}  // namespace orvane
