#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "Platform/Foundation/NSError.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

inline constexpr const char* propertyListErrorDomain = "PropertyList";

/// The value as the bytes of a serialised GVariant of type `v`: `b`, `x`, `s`, `ay`, `av` or
/// `a{sv}`, in this machine's byte order. Equal values are equal bytes. What this form would cut or
/// alter is an error: a text with a zero byte or that is not UTF-8, and nesting beyond 32 levels.
Expected<PropertyListValue::Data> encode(const PropertyListValue& value);

/// Nothing when the bytes are none that `encode` makes.
std::optional<PropertyListValue> decode(std::span<const std::byte> bytes);

/// Whether what `encode` has made these bytes of is a dictionary.
bool isEncodedDictionary(std::span<const std::byte> bytes);

/// Whether the text can be kept without loss: valid UTF-8 without zero bytes.
bool isStorable(std::string_view text);

}  // namespace orvane
