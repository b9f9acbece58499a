#include "BlockerKit/Model/Package.h"

#include <algorithm>
#include <utility>

#include "Platform/Foundation/FatalError.h"

namespace orvane {

PackageType Package::type() const {
  return fromRawValue<PackageType>(id + ".json").value_or(PackageType::CustomPackages);
}

PackageCollectionType Package::groupType() const { return orvane::groupType(type()); }

Package Package::packageBySettingRule(const Rule& rule) const& {
  return Package(*this).packageBySettingRule(rule);
}

Package Package::packageBySettingRule(const Rule& rule) && {
  const auto sameID = std::find_if(rules.begin(), rules.end(),
                                   [&](const Rule& other) { return other.id == rule.id; });
  if (sameID == rules.end()) {
    rules.push_back(rule);
  } else {
    *sameID = rule;
  }
  return std::move(*this);
}

Package Package::packageByRemovingRuleAtIndex(std::size_t index) const& {
  return Package(*this).packageByRemovingRuleAtIndex(index);
}

Package Package::packageByRemovingRuleAtIndex(std::size_t index) && {
  if (index >= rules.size()) fatalError("Index out of range", "BlockerKit/Model");
  rules.erase(rules.begin() + static_cast<std::ptrdiff_t>(index));
  return std::move(*this);
}

}  // namespace orvane
