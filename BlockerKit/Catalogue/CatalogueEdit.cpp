#include "BlockerKit/Catalogue/CatalogueEdit.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace orvane {
namespace {

template <typename Item>
std::optional<std::size_t> indexOf(const std::vector<Item>& items, std::string_view identifier) {
  const auto found = std::find_if(items.begin(), items.end(),
                                  [&](const Item& item) { return item.id == identifier; });
  if (found == items.end()) return std::nullopt;
  return static_cast<std::size_t>(found - items.begin());
}

std::optional<std::size_t> indexOfEqualOrSameID(const std::vector<Rule>& rules, const Rule& rule) {
  const auto equal = std::find(rules.begin(), rules.end(), rule);
  if (equal == rules.end()) return indexOf(rules, rule.id);
  return static_cast<std::size_t>(equal - rules.begin());
}

void setRule(EditablePackages& list, std::size_t packageIndex, const Rule& rule) {
  auto& package = list.edit()[packageIndex];
  package = std::move(package).packageBySettingRule(rule);
}

void make(const SettingRule& edit, EditablePackages& list) {
  const auto package = indexOf(list.get(), edit.packageIdentifier);
  if (package) setRule(list, *package, edit.rule);
}

/// The first rule with an id is the one that a single edit would replace.
void make(const SettingRules& edit, EditablePackages& list) {
  const auto package = indexOf(list.get(), edit.packageIdentifier);
  if (!package) return;
  auto& rules = list.edit()[*package].rules;
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t place = 0; place < rules.size(); ++place) {
    places.try_emplace(rules[place].id, place);
  }
  for (const auto& rule : edit.rules) {
    const auto [known, isNew] = places.try_emplace(rule.id, rules.size());
    if (isNew) {
      rules.push_back(rule);
    } else {
      rules[known->second] = rule;
    }
  }
}

void make(const ReplacingRule& edit, EditablePackages& list) {
  const auto package = indexOf(list.get(), edit.packageIdentifier);
  if (!package) return;
  const auto rule = indexOfEqualOrSameID(list.get()[*package].rules, edit.old);
  if (rule && edit.replacement) {
    list.edit()[*package].rules[*rule] = *edit.replacement;
  } else if (rule) {
    auto& edited = list.edit()[*package];
    edited = std::move(edited).packageByRemovingRuleAtIndex(*rule);
  } else if (edit.replacement) {
    setRule(list, *package, *edit.replacement);
  }
}

void make(const SettingPackage& edit, EditablePackages& list) {
  const auto index = indexOf(list.get(), edit.package.id);
  if (index) {
    list.edit()[*index] = edit.package;
  } else {
    list.edit().push_back(edit.package);
  }
}

void make(const NamingPackage& edit, EditablePackages& list) {
  const auto index = indexOf(list.get(), edit.identifier);
  if (index) {
    list.edit()[*index].name = edit.name;
  } else {
    list.edit().push_back({edit.identifier, edit.name, {}});
  }
}

void make(const RemovingItems& edit, EditablePackages& list) { removeItems(edit, list); }

}  // namespace

std::optional<UserList> listWithPackage(const UserPackages& packages, std::string_view identifier) {
  if (indexOf(packages.configurable.get(), identifier)) return UserList::configurable;
  if (indexOf(packages.custom.get(), identifier)) return UserList::custom;
  return std::nullopt;
}

const Package* packageWithIdentifier(const UserPackages& packages, std::string_view identifier) {
  for (const auto* list : {&packages.configurable, &packages.custom}) {
    if (const auto index = indexOf(list->get(), identifier)) return &list->get()[*index];
  }
  return nullptr;
}

void perform(const CatalogueEdit& edit, EditablePackages& list) {
  std::visit([&](const auto& which) { make(which, list); }, edit);
}

}  // namespace orvane
