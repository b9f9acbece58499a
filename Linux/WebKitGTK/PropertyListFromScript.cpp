#include "Linux/WebKitGTK/PropertyListFromScript.h"

#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "Linux/GLib/GObjectPointer.h"

namespace orvane {
namespace {

/// No message is nested so deeply; a value that refers to itself is.
constexpr int deepest = 16;
/// A longer array is not a message of the script, and its length is what the sender says.
constexpr double longestArray = 100'000;
/// Up to here every integer is a double.
constexpr double largestInteger = 9'007'199'254'740'992;

std::optional<PropertyListValue> read(JSCValue* value, int depth);

std::optional<PropertyListValue> readNumber(double number) {
  if (std::trunc(number) != number || std::abs(number) > largestInteger) return std::nullopt;
  return PropertyListValue(static_cast<std::int64_t>(number));
}

/// JavaScript strings may hold a NUL, and so may a property list.
PropertyListValue readString(JSCValue* value) {
  GBytes* bytes = jsc_value_to_string_as_bytes(value);
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  PropertyListValue string(std::string(text == nullptr ? "" : text, size));
  g_bytes_unref(bytes);
  return string;
}

std::optional<PropertyListValue> readArray(JSCValue* value, int depth) {
  const GObjectPointer<JSCValue> length(jsc_value_object_get_property(value, "length"));
  const double count = jsc_value_to_double(length.get());
  if (!(count <= longestArray)) return std::nullopt;
  PropertyListValue::Array array;
  for (guint at = 0; at < static_cast<guint>(count); ++at) {
    const GObjectPointer<JSCValue> element(jsc_value_object_get_property_at_index(value, at));
    if (auto read = orvane::read(element.get(), depth + 1)) array.push_back(std::move(*read));
  }
  return array;
}

std::optional<PropertyListValue> readObject(JSCValue* value, int depth) {
  PropertyListValue::Dictionary dictionary;
  const std::unique_ptr<gchar*, decltype(&g_strfreev)> names(
      jsc_value_object_enumerate_properties(value), g_strfreev);
  for (gchar** name = names.get(); name != nullptr && *name != nullptr; ++name) {
    const GObjectPointer<JSCValue> property(jsc_value_object_get_property(value, *name));
    if (auto read = orvane::read(property.get(), depth + 1)) {
      dictionary.emplace(*name, std::move(*read));
    }
  }
  return dictionary;
}

std::optional<PropertyListValue> read(JSCValue* value, int depth) {
  if (depth > deepest) return std::nullopt;
  if (jsc_value_is_boolean(value)) return PropertyListValue(jsc_value_to_boolean(value) != FALSE);
  if (jsc_value_is_number(value)) return readNumber(jsc_value_to_double(value));
  if (jsc_value_is_string(value)) return readString(value);
  if (jsc_value_is_array(value)) return readArray(value, depth);
  if (jsc_value_is_function(value) || !jsc_value_is_object(value)) return std::nullopt;
  return readObject(value, depth);
}

}  // namespace

std::optional<PropertyListValue> propertyListFrom(JSCValue* value) { return read(value, 0); }

}  // namespace orvane
