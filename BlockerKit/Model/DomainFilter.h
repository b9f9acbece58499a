#pragma once

#include <string>
#include <vector>

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

enum class DomainFilterType { IfDomain, UnlessDomain };

template <>
struct RawValues<DomainFilterType> {
  static constexpr RawValueTable<DomainFilterType, 2> table{{
      {DomainFilterType::IfDomain, "if-domain"},
      {DomainFilterType::UnlessDomain, "unless-domain"},
  }};
};

/// The sites, by the host of the top page, on which a rule applies or does not apply. The same
/// names in another order make a different filter.
struct DomainFilter {
  DomainFilterType type;
  std::vector<std::string> values;

  friend bool operator==(const DomainFilter&, const DomainFilter&) = default;
};

}  // namespace orvane
