#pragma once

#include <string>
#include <vector>

#include "BlockerKit/Catalogue/Catalogue.h"
#include "BlockerKit/JSON/RecordWriter.h"

namespace orvane::test {

inline Blocker blocking(std::string urlFilter) {
  return {{.urlFilter = std::move(urlFilter)}, *Action::make(ActionType::Block)};
}

inline Rule rule(const std::string& id, const std::string& urlFilter) {
  return {id, "", blocking(urlFilter)};
}

/// A catalogue with a rule of each kind of package; `preinstalledFilter` is the URL filter of the
/// first.
inline Catalogue wholeCatalogue(const std::string& preinstalledFilter = "ads") {
  return {.preinstalled = share({{"block-ads", "Ads", {rule("a", preinstalledFilter)}}}),
          .configurable = share({{"whitelist", "Whitelist", {rule("w", "whitelisted")}},
                                 {"block-url", "URLs", {rule("u", "url"), rule("v", "url-2")}}}),
          .custom = share({{"UUID", "Mine", {rule("c", "custom")}}})};
}

/// The text of a blocker list with these URL filters.
inline std::string listOf(const std::vector<std::string>& urlFilters) {
  std::vector<Blocker> blockers;
  for (const auto& filter : urlFilters) blockers.push_back(blocking(filter));
  return *toJSON(std::span<const Blocker>(blockers));
}

/// What `wholeCatalogue` compiles to.
inline std::string wholeList(const std::string& preinstalledFilter = "ads") {
  return listOf({preinstalledFilter, "url", "url-2", "custom", "whitelisted"});
}

}  // namespace orvane::test
