#pragma once

#include <optional>
#include <string>
#include <vector>

#include "BlockerKit/Model/DomainFilter.h"
#include "BlockerKit/Model/LoadType.h"
#include "BlockerKit/Model/OptionalEquatableCollection.h"
#include "BlockerKit/Model/ResourceType.h"

namespace orvane {

/// Which loads a rule applies to.
struct Trigger {
  /// A regular expression in the browser's content-blocker dialect, matched against the URL.
  std::string urlFilter;
  bool caseSensitive = false;
  /// Absent means all types; a present empty list is a value of its own.
  std::optional<std::vector<ResourceType>> resourceTypes = std::nullopt;
  /// Absent means both.
  std::optional<std::vector<LoadType>> loadType = std::nullopt;
  /// Absent means every site.
  std::optional<DomainFilter> domainFilter = std::nullopt;

  friend bool operator==(const Trigger&, const Trigger&) = default;
};

static_assert(OptionalEquatableCollection<decltype(Trigger::resourceTypes)>);
static_assert(OptionalEquatableCollection<decltype(Trigger::loadType)>);

}  // namespace orvane
