#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "BlockerKit/Catalogue/EditablePackages.h"
#include "BlockerKit/Catalogue/ItemRemoval.h"

namespace orvane {

/// The lists that the user can change.
enum class UserList { configurable, custom };

/// The packages of these lists, as one process has them.
struct UserPackages {
  EditablePackages configurable;
  EditablePackages custom;

  EditablePackages& operator[](UserList list) {
    return list == UserList::configurable ? configurable : custom;
  }
};

/// The list that has a package with that id, the configurable one first; nothing when none has.
std::optional<UserList> listWithPackage(const UserPackages& packages, std::string_view identifier);

/// The configurable or else the custom package with that id; null when there is none.
const Package* packageWithIdentifier(const UserPackages& packages, std::string_view identifier);

/// Puts a rule into a package, in the place of a rule with the same id.
struct SettingRule {
  std::string packageIdentifier;
  Rule rule;
};

/// The same for many rules; costs less for each of them the more there are.
struct SettingRules {
  std::string packageIdentifier;
  std::vector<Rule> rules;
};

/// Replaces the first rule that is equal to `old`, or else the first with its id, since another
/// process may have changed it meanwhile; without a replacement it is removed. A replacement whose
/// old rule is gone is put in as a new rule.
struct ReplacingRule {
  std::string packageIdentifier;
  Rule old;
  std::optional<Rule> replacement;
};

/// Puts a package among the custom ones, in the place of one with the same id.
struct SettingPackage {
  Package package;
};

/// Gives the custom package with that id another name, and leaves its rules to whoever changes them
/// meanwhile; makes an empty one when there is none.
struct NamingPackage {
  std::string identifier;
  std::string name;
};

/// An edit of one of the lists. It says what is wanted by identifiers, so that it can be made again
/// on a list that another process has changed.
using CatalogueEdit = std::variant<SettingRule, SettingRules, ReplacingRule, SettingPackage,
                                   NamingPackage, RemovingItems>;

/// Makes the edit on its list, where it changes nothing when what it is about is gone.
void perform(const CatalogueEdit& edit, EditablePackages& list);

}  // namespace orvane
