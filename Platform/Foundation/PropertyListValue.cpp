#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

PropertyListValue toPropertyList(const std::vector<std::string>& strings) {
  return PropertyListValue::Array(strings.begin(), strings.end());
}

std::optional<std::vector<std::string>> stringsOf(const PropertyListValue& value) {
  const auto* array = value.as<PropertyListValue::Array>();
  if (array == nullptr) return std::nullopt;
  std::vector<std::string> strings;
  strings.reserve(array->size());
  for (const auto& element : *array) {
    const auto* string = element.as<std::string>();
    if (string == nullptr) return std::nullopt;
    strings.push_back(*string);
  }
  return strings;
}

}  // namespace orvane
