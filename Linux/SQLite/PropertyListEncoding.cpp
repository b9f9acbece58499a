#include "Linux/SQLite/PropertyListEncoding.h"

#include <memory>
#include <string>
#include <utility>

#include <glib.h>

namespace orvane {
namespace {

using Array = PropertyListValue::Array;
using Data = PropertyListValue::Data;
using Dictionary = PropertyListValue::Dictionary;

/// A level takes up to three of the 128 that GLib reads.
constexpr int deepest = 32;

struct Unref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, Unref>;

const char* objection(const PropertyListValue& value, int depth);

const char* objectionToAny(const Array& array, int depth) {
  for (const auto& element : array) {
    if (const char* found = objection(element, depth)) return found;
  }
  return nullptr;
}

const char* objectionToAny(const Dictionary& dictionary, int depth) {
  for (const auto& [name, element] : dictionary) {
    if (!isStorable(name)) return "A name in a dictionary is not text that can be kept";
    if (const char* found = objection(element, depth)) return found;
  }
  return nullptr;
}

/// Why the value cannot be kept without loss; null when it can.
const char* objection(const PropertyListValue& value, int depth) {
  if (depth > deepest) return "A value that is nested so deeply cannot be kept";
  if (const auto* text = value.as<std::string>()) {
    return isStorable(*text) ? nullptr
                             : "A text with a zero byte or that is not UTF-8 cannot be kept";
  }
  if (const auto* array = value.as<Array>()) return objectionToAny(*array, depth + 1);
  if (const auto* dictionary = value.as<Dictionary>()) {
    return objectionToAny(*dictionary, depth + 1);
  }
  return nullptr;
}

// Each makes a floating reference.

GVariant* variantOf(bool value) { return g_variant_new_boolean(value ? TRUE : FALSE); }
GVariant* variantOf(std::int64_t value) { return g_variant_new_int64(value); }
GVariant* variantOf(const std::string& text) { return g_variant_new_string(text.c_str()); }
GVariant* variantOf(const Data& data) {
  return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.data(), data.size(), 1);
}
GVariant* variantOf(const Array& array);
GVariant* variantOf(const Dictionary& dictionary);

GVariant* boxed(const PropertyListValue& value) {
  return g_variant_new_variant(
      std::visit([](const auto& content) { return variantOf(content); }, value.variant));
}

GVariant* variantOf(const Array& array) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
  for (const auto& element : array) g_variant_builder_add_value(&builder, boxed(element));
  return g_variant_builder_end(&builder);
}

GVariant* variantOf(const Dictionary& dictionary) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
  for (const auto& [name, value] : dictionary) {
    g_variant_builder_add_value(&builder, g_variant_new_dict_entry(variantOf(name), boxed(value)));
  }
  return g_variant_builder_end(&builder);
}

std::optional<PropertyListValue> valueOf(GVariant* variant);

std::optional<PropertyListValue> unboxed(GVariant* box) {
  const Variant content(g_variant_get_variant(box));
  return valueOf(content.get());
}

std::string stringOf(GVariant* variant) {
  gsize length = 0;
  const char* text = g_variant_get_string(variant, &length);
  return {text, length};
}

Data dataOf(GVariant* variant) {
  gsize size = 0;
  const auto* bytes = static_cast<const std::byte*>(g_variant_get_fixed_array(variant, &size, 1));
  return {bytes, bytes + size};
}

std::optional<PropertyListValue> arrayOf(GVariant* variant) {
  Array array;
  for (gsize index = 0; index < g_variant_n_children(variant); ++index) {
    const Variant box(g_variant_get_child_value(variant, index));
    auto element = unboxed(box.get());
    if (!element) return std::nullopt;
    array.push_back(std::move(*element));
  }
  return array;
}

std::optional<PropertyListValue> dictionaryOf(GVariant* variant) {
  Dictionary dictionary;
  for (gsize index = 0; index < g_variant_n_children(variant); ++index) {
    const Variant entry(g_variant_get_child_value(variant, index));
    const Variant name(g_variant_get_child_value(entry.get(), 0));
    const Variant box(g_variant_get_child_value(entry.get(), 1));
    auto element = unboxed(box.get());
    if (!element) return std::nullopt;
    dictionary.insert_or_assign(stringOf(name.get()), std::move(*element));
  }
  return dictionary;
}

std::optional<PropertyListValue> valueOf(GVariant* variant) {
  const auto isA = [&](const char* type) {
    return g_variant_is_of_type(variant, G_VARIANT_TYPE(type)) != FALSE;
  };
  if (isA("b")) return g_variant_get_boolean(variant) != FALSE;
  if (isA("x")) return std::int64_t{g_variant_get_int64(variant)};
  if (isA("s")) return stringOf(variant);
  if (isA("ay")) return dataOf(variant);
  if (isA("av")) return arrayOf(variant);
  if (isA("a{sv}")) return dictionaryOf(variant);
  return std::nullopt;
}

}  // namespace

Expected<Data> encode(const PropertyListValue& value) {
  if (const char* reason = objection(value, 0)) {
    return tl::unexpected(NSError{propertyListErrorDomain, 1, reason});
  }
  const Variant variant(g_variant_ref_sink(boxed(value)));
  Data bytes(g_variant_get_size(variant.get()));
  g_variant_store(variant.get(), bytes.data());
  return bytes;
}

std::optional<PropertyListValue> decode(std::span<const std::byte> bytes) {
  const Variant variant(g_variant_ref_sink(g_variant_new_from_data(
      G_VARIANT_TYPE_VARIANT, bytes.data(), bytes.size(), FALSE, nullptr, nullptr)));
  if (g_variant_is_normal_form(variant.get()) == FALSE) return std::nullopt;
  return unboxed(variant.get());
}

/// The type is at the end, behind a zero byte.
bool isEncodedDictionary(std::span<const std::byte> bytes) {
  constexpr std::string_view end("\0a{sv}", 6);
  return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()).ends_with(end);
}

bool isStorable(std::string_view text) {
  // It takes a zero byte for the end of the text, and says that it is none.
  return g_utf8_validate_len(text.data(), text.size(), nullptr) != FALSE;
}

}  // namespace orvane
