#include "Platform/Foundation/KeyValueEntries.h"

#include <cstddef>
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
  std::size_t begin = 0;
  std::size_t end = count();
  while (begin < end) {
    const auto middle = begin + (end - begin) / 2;
    if (this->name(middle) < name) {
      begin = middle + 1;
    } else {
      end = middle;
    }
  }
  if (begin == count() || this->name(begin) != name) return std::nullopt;
  return value(begin);
}

std::shared_ptr<const KeyValueEntries> entriesOf(PropertyListValue::Dictionary dictionary) {
  return std::make_shared<const EntriesInMemory>(std::move(dictionary));
}

}  // namespace orvane
