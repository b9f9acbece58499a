#include "BlockerKit/Model/Package.h"

#include <algorithm>

#include "Platform/Foundation/FatalError.h"

namespace orvane {

PackageType Package::type() const {
  return fromRawValue<PackageType>(id + ".json").value_or(PackageType::CustomPackages);
}

PackageCollectionType Package::groupType() const { return orvane::groupType(type()); }

Package Package::packageBySettingRule(const Rule& rule) const {
  Package result = *this;
  const auto sameID = std::find_if(result.rules.begin(), result.rules.end(),
                                   [&](const Rule& other) { return other.id == rule.id; });
  if (sameID == result.rules.end()) {
    result.rules.push_back(rule);
  } else {
    *sameID = rule;
  }
  return result;
}

Package Package::packageByRemovingRuleAtIndex(std::size_t index) const {
  if (index >= rules.size()) fatalError("Index out of range", "BlockerKit/Model");
  Package result = *this;
  result.rules.erase(result.rules.begin() + static_cast<std::ptrdiff_t>(index));
  return result;
}

}  // namespace orvane
