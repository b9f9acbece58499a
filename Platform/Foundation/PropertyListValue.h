#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace orvane {

/// A value as user defaults keep it. Text is UTF-8.
struct PropertyListValue {
  using Data = std::vector<std::byte>;
  using Array = std::vector<PropertyListValue>;
  using Dictionary = std::map<std::string, PropertyListValue>;
  using Variant = std::variant<bool, std::int64_t, std::string, Data, Array, Dictionary>;

  PropertyListValue(bool value) : variant(value) {}
  PropertyListValue(std::int64_t value) : variant(value) {}
  PropertyListValue(std::string value) : variant(std::move(value)) {}
  PropertyListValue(const char* value) : variant(std::string(value)) {}
  PropertyListValue(Data value) : variant(std::move(value)) {}
  PropertyListValue(Array value) : variant(std::move(value)) {}
  PropertyListValue(Dictionary value) : variant(std::move(value)) {}

  /// The value as a `Type`, one of the variant's, or null when it is of another type.
  template <typename Type>
  const Type* as() const {
    return std::get_if<Type>(&variant);
  }

  friend bool operator==(const PropertyListValue&, const PropertyListValue&) = default;

  Variant variant;
};

PropertyListValue toPropertyList(const std::vector<std::string>& strings);

/// The strings of an array that holds nothing but strings.
std::optional<std::vector<std::string>> stringsOf(const PropertyListValue& value);

}  // namespace orvane
