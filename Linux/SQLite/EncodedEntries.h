#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "Platform/Foundation/KeyValueEntries.h"

namespace orvane {

/// Entries whose values are encoded as PropertyListEncoding.h says.
class EncodedEntries final : public KeyValueEntries {
 public:
  using Bytes = std::span<const std::byte>;

  /// Behind the others, by its name.
  void add(std::string_view name, Bytes value);

  std::size_t count() const override { return entries_.size(); }
  std::string_view name(std::size_t index) const override { return entries_[index].name; }
  bool isDictionary(std::size_t index) const override;
  std::optional<PropertyListValue> value(std::size_t index) const override;

 private:
  struct Entry {
    std::string_view name;
    Bytes value;
  };

  Bytes copyOf(Bytes bytes);

  /// Each is filled up to what was reserved for it, so that nothing in it moves.
  std::vector<std::vector<std::byte>> blocks_;
  std::vector<Entry> entries_;
};

}  // namespace orvane
