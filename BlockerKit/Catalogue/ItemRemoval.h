#pragma once

#include <span>
#include <string>
#include <vector>

#include "BlockerKit/Catalogue/EditablePackages.h"

namespace orvane {

/// Removes packages and rules of one list in turn: of each the first that has its id, and nothing
/// when there is none left. Goes over the list once, however many they are.
struct RemovingItems {
  enum class Kind { package, rule };

  struct Item {
    Kind kind;
    std::string identifier;

    friend bool operator==(const Item&, const Item&) = default;
  };

  std::vector<Item> items;
};

/// What has to be removed from each of the user's lists.
struct ItemRemovals {
  RemovingItems configurable;
  RemovingItems custom;
};

/// Says for each of the identifiers in turn what it stands for once those before it are gone: the
/// custom package that has it, or else the first rule, for which the configurable packages come
/// first. What is nowhere is to be removed from both lists: another process may have saved it since
/// they were read, so that it is there when they are read again.
ItemRemovals itemRemovals(std::span<const std::string> identifiers,
                          const std::vector<Package>& configurable,
                          const std::vector<Package>& custom);

void removeItems(const RemovingItems& edit, EditablePackages& list);

}  // namespace orvane
