#include "Platform/Foundation/KeyValueEntries.h"

#include <algorithm>
#include <ranges>
#include <utility>
#include <vector>

namespace orvane {
namespace {

class EntriesInMemory final : public KeyValueEntries {
 public:
  explicit EntriesInMemory(PropertyListValue::Dictionary dictionary)
      : dictionary_(std::move(dictionary)) {
    for (const auto& entry : dictionary_) entries_.push_back(&entry);
  }

  std::size_t count() const override { return entries_.size(); }
  std::string_view name(std::size_t index) const override { return entries_[index]->first; }
  bool isDictionary(std::size_t index) const override {
    return entries_[index]->second.as<PropertyListValue::Dictionary>() != nullptr;
  }
  std::optional<PropertyListValue> value(std::size_t index) const override {
    return entries_[index]->second;
  }

 private:
  const PropertyListValue::Dictionary dictionary_;
  std::vector<const PropertyListValue::Dictionary::value_type*> entries_;
};

}  // namespace

std::optional<PropertyListValue> KeyValueEntries::value(std::string_view name) const {
  const auto indices = std::views::iota(std::size_t{0}, count());
  const auto nameAt = [this](std::size_t index) { return this->name(index); };
  const auto found = std::ranges::lower_bound(indices, name, {}, nameAt);
  if (found == indices.end() || nameAt(*found) != name) return std::nullopt;
  return value(*found);
}

std::shared_ptr<const KeyValueEntries> entriesOf(PropertyListValue::Dictionary dictionary) {
  return std::make_shared<const EntriesInMemory>(std::move(dictionary));
}

}  // namespace orvane
