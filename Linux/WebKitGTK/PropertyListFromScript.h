#pragma once

#include <optional>

#include <jsc/jsc.h>

#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The value of a script as a property list; nothing when it is of a kind that a property list does
/// not know. Inside arrays and objects such values are left out. An integer is kept when a double
/// holds it exactly; other numbers, and what is nested too deeply or refers to itself, are unknown.
std::optional<PropertyListValue> propertyListFrom(JSCValue* value);

}  // namespace orvane
