#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The entries of a dictionary as they were at one moment, in the order of their names. A value is
/// decoded when it is asked for: many entries that wait take little memory and no time. Never
/// changes; any thread.
class KeyValueEntries {
 public:
  KeyValueEntries() = default;
  KeyValueEntries(const KeyValueEntries&) = delete;
  KeyValueEntries& operator=(const KeyValueEntries&) = delete;
  virtual ~KeyValueEntries() = default;

  virtual std::size_t count() const = 0;

  // `index` is less than the count.

  virtual std::string_view name(std::size_t index) const = 0;
  /// Whether the value is a dictionary, if it is not damaged.
  virtual bool isDictionary(std::size_t index) const = 0;
  /// Nothing when it is damaged.
  virtual std::optional<PropertyListValue> value(std::size_t index) const = 0;

  /// Nothing when there is no such entry, or a damaged one.
  std::optional<PropertyListValue> value(std::string_view name) const;
};

/// Those of a dictionary in memory.
std::shared_ptr<const KeyValueEntries> entriesOf(PropertyListValue::Dictionary dictionary);

}  // namespace orvane
