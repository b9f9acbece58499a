#pragma once

#include <ostream>
#include <string>

#include "Platform/Foundation/PropertyListValue.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {

/// Any text that a database on disk takes.
inline rc::Gen<std::string> storableTexts() {
  return rc::gen::map(texts(), [](std::string text) {
    std::erase(text, '\0');
    return text;
  });
}

/// Any value of at most `depth` containers around each other.
inline rc::Gen<PropertyListValue> propertyLists(int depth) {
  using Value = PropertyListValue;
  const auto value = [](auto content) { return Value(std::move(content)); };
  const auto bytes = rc::gen::map(rc::gen::arbitrary<std::string>(), [](const std::string& text) {
    const auto* data = reinterpret_cast<const std::byte*>(text.data());
    return Value(Value::Data(data, data + text.size()));
  });
  const auto plain = rc::gen::oneOf(rc::gen::map(rc::gen::arbitrary<bool>(), value),
                                    rc::gen::map(rc::gen::arbitrary<std::int64_t>(), value),
                                    rc::gen::map(storableTexts(), value), bytes);
  if (depth == 0) return plain;
  const auto inner = propertyLists(depth - 1);
  return rc::gen::oneOf(
      plain, rc::gen::resize(5, rc::gen::map(rc::gen::container<Value::Array>(inner), value)),
      rc::gen::resize(
          5, rc::gen::map(rc::gen::container<Value::Dictionary>(storableTexts(), inner), value)));
}

}  // namespace orvane::test

namespace orvane {

inline void PrintTo(const PropertyListValue& value, std::ostream* os) {
  *os << "value of type " << value.variant.index();
}
inline void showValue(const PropertyListValue& value, std::ostream& os) { PrintTo(value, &os); }

}  // namespace orvane
