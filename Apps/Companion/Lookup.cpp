#include "Apps/Companion/Lookup.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include <fmt/format.h>

namespace orvane {
namespace {

/// How many characters have to be put in, taken out or replaced.
std::size_t distance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    auto diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const auto replacing = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replacing, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// " Do you mean 'block-ads'?", or nothing when no id or name is near.
template <typename Item>
std::string suggestion(const std::vector<Item>& items, const std::string& wanted) {
  constexpr std::size_t longest = 100;
  if (wanted.size() > longest) return "";
  const std::string* nearest = nullptr;
  std::size_t least = std::max<std::size_t>(1, wanted.size() / 3) + 1;
  for (const auto& item : items) {
    for (const auto* text : {&item.id, &item.name}) {
      if (text->size() > longest || text->empty()) continue;
      const auto changes = distance(wanted, *text);
      if (changes >= least) continue;
      least = changes;
      nearest = text;
    }
  }
  return nearest == nullptr ? "" : fmt::format(" Do you mean '{}'?", *nearest);
}

template <typename Item>
tl::expected<const Item*, std::string> find(const std::vector<Item>& items,
                                            const std::string& wanted, std::string_view kind,
                                            const std::string& place = "") {
  const auto byID =
      std::find_if(items.begin(), items.end(), [&](const Item& item) { return item.id == wanted; });
  if (byID != items.end()) return &*byID;
  std::vector<const Item*> named;
  for (const auto& item : items) {
    if (item.name == wanted) named.push_back(&item);
  }
  if (named.size() == 1) return named.front();
  if (named.empty()) {
    return tl::unexpected(
        fmt::format("There is no {} '{}'{}.{}", kind, wanted, place, suggestion(items, wanted)));
  }
  std::string ids;
  for (const auto* item : named) ids += "\n  " + item->id;
  return tl::unexpected(fmt::format("The name '{}' is that of {} {}s; say which one by its id:{}",
                                    wanted, named.size(), kind, ids));
}

template <typename Item>
std::string describeItem(const Item& item) {
  return item.name.empty() ? item.id : fmt::format("{} ({})", item.id, item.name);
}

}  // namespace

tl::expected<const Package*, std::string> findPackage(const std::vector<Package>& packages,
                                                      const std::string& idOrName) {
  return find(packages, idOrName, "package");
}

tl::expected<const Rule*, std::string> findRule(const Package& package,
                                                const std::string& idOrName) {
  return find(package.rules, idOrName, "rule", fmt::format(" in the package '{}'", package.id));
}

std::string describe(const Package& package) { return describeItem(package); }

std::string describe(const Rule& rule) { return describeItem(rule); }

}  // namespace orvane
