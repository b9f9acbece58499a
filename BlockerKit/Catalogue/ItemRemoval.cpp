#include "BlockerKit/Catalogue/ItemRemoval.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>

namespace orvane {
namespace {

using Kind = RemovingItems::Kind;
/// For each item of a vector, whether it is taken.
using Marks = std::vector<bool>;

template <typename Item>
void eraseMarked(std::vector<Item>& items, const Marks& marks) {
  auto mark = marks.begin();
  std::erase_if(items, [&](const Item&) { return *mark++; });
}

/// A list whose items are taken one after the other, and removed together. The list stays as it is
/// until then, and the identifiers that are asked for outlive this.
class ItemsTaken {
 public:
  ItemsTaken(const std::vector<Package>& packages, std::span<const std::string_view> identifiers)
      : packages_(packages.size()), rules_(packages.size()) {
    places_.reserve(identifiers.size());
    for (const auto identifier : identifiers) places_.try_emplace(identifier);
    for (std::size_t index = packages.size(); index-- > 0;) addPlaces(packages[index], index);
  }

  /// Takes the first that is left, if any.
  bool take(Kind kind, std::string_view identifier) {
    auto& places = places_.at(identifier);
    return kind == Kind::package ? takePackage(places) : takeRule(places);
  }

  void remove(EditablePackages& list) const {
    if (!isAnyTaken_) return;
    auto& packages = list.edit();
    for (std::size_t index = 0; index < packages.size(); ++index) {
      if (!packages_[index] && !rules_[index].empty()) {
        eraseMarked(packages[index].rules, rules_[index]);
      }
    }
    eraseMarked(packages, packages_);
  }

 private:
  struct RulePlace {
    std::size_t package;
    std::size_t rule;
    std::size_t ruleCount;
  };
  /// The first is the last, where it is taken off.
  struct Places {
    std::vector<std::size_t> packages;
    std::vector<RulePlace> rules;
  };

  void addPlaces(const Package& package, std::size_t index) {
    if (const auto found = places_.find(package.id); found != places_.end()) {
      found->second.packages.push_back(index);
    }
    const auto count = package.rules.size();
    for (std::size_t rule = count; rule-- > 0;) {
      const auto found = places_.find(package.rules[rule].id);
      if (found != places_.end()) found->second.rules.push_back({index, rule, count});
    }
  }

  bool takePackage(Places& places) {
    if (places.packages.empty()) return false;
    packages_[places.packages.back()] = true;
    places.packages.pop_back();
    return isAnyTaken_ = true;
  }

  /// Those of a package that is taken are gone with it.
  bool takeRule(Places& places) {
    auto& left = places.rules;
    while (!left.empty() && packages_[left.back().package]) left.pop_back();
    if (left.empty()) return false;
    const auto place = left.back();
    left.pop_back();
    auto& marks = rules_[place.package];
    marks.resize(place.ruleCount);
    marks[place.rule] = true;
    return isAnyTaken_ = true;
  }

  std::unordered_map<std::string_view, Places> places_;
  Marks packages_;
  /// Of each package; empty when none of its rules is taken.
  std::vector<Marks> rules_;
  bool isAnyTaken_ = false;
};

}  // namespace

ItemRemovals itemRemovals(std::span<const std::string> identifiers,
                          const std::vector<Package>& configurable,
                          const std::vector<Package>& custom) {
  const std::vector<std::string_view> views(identifiers.begin(), identifiers.end());
  ItemsTaken fromConfigurable(configurable, views);
  ItemsTaken fromCustom(custom, views);
  ItemRemovals removals;
  for (const auto& identifier : identifiers) {
    const RemovingItems::Item package{Kind::package, identifier};
    const RemovingItems::Item rule{Kind::rule, identifier};
    if (fromCustom.take(Kind::package, identifier)) {
      removals.custom.items.push_back(package);
    } else if (fromConfigurable.take(Kind::rule, identifier)) {
      removals.configurable.items.push_back(rule);
    } else if (fromCustom.take(Kind::rule, identifier)) {
      removals.custom.items.push_back(rule);
    } else {
      removals.configurable.items.push_back(rule);
      removals.custom.items.insert(removals.custom.items.end(), {rule, package});
    }
  }
  return removals;
}

void removeItems(const RemovingItems& edit, EditablePackages& list) {
  std::vector<std::string_view> identifiers;
  for (const auto& item : edit.items) identifiers.push_back(item.identifier);
  ItemsTaken taken(list.get(), identifiers);
  for (const auto& item : edit.items) taken.take(item.kind, item.identifier);
  taken.remove(list);
}

}  // namespace orvane
