#include "Apps/Companion/SiteList.h"

namespace orvane {

bool listsSites(const Rule& rule) {
  const auto& filter = rule.blocker.trigger.domainFilter;
  return filter && filter->type == DomainFilterType::IfDomain;
}

std::optional<Covering> coveringEntry(const Package& package, std::string_view site) {
  for (const auto& rule : package.rules) {
    if (!listsSites(rule)) continue;
    // What an entry covers is for the per-site rules to say, so each is asked about by itself.
    Package one{.id = package.id, .name = "", .rules = {rule}};
    auto& entries = one.rules.front().blocker.trigger.domainFilter->values;
    for (const auto& entry : rule.blocker.trigger.domainFilter->values) {
      entries = {entry};
      if (PerSiteRules::ruleCovering(site, [&one] { return &one; }) != nullptr) {
        return Covering{&rule, entry};
      }
    }
  }
  return std::nullopt;
}

}  // namespace orvane
