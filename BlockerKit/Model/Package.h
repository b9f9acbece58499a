#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "BlockerKit/Model/PackageType.h"
#include "BlockerKit/Model/Rule.h"

namespace orvane {

/// A named, identified, ordered list of rules. A value: an edit makes a new package.
struct Package {
  /// Also the package's kind: the name of its file without ".json", the raw value of a
  /// `ConfigurablePackageType`, or a UUID string for a package of the user's own.
  std::string id;
  std::string name;
  /// In the order in which they reach the browser's list.
  std::vector<Rule> rules;

  /// The kind whose file is named `id` + ".json"; `CustomPackages` when there is none.
  PackageType type() const;

  /// The heading of that kind; `custom` when `id` names no file.
  PackageCollectionType groupType() const;

  /// This package with `rule` in it: in the place of the first rule with the same id, or else at
  /// the end.
  Package packageBySettingRule(const Rule& rule) const&;
  Package packageBySettingRule(const Rule& rule) &&;

  /// This package without the rule at `index`. An index that is out of range stops the process.
  Package packageByRemovingRuleAtIndex(std::size_t index) const&;
  Package packageByRemovingRuleAtIndex(std::size_t index) &&;

  friend bool operator==(const Package&, const Package&) = default;
};

}  // namespace orvane
