#include "BlockerKit/JSON/JSONCoverage.h"

#include <string_view>
#include <unordered_map>

namespace orvane {
namespace {

using Members = std::unordered_map<std::string_view, JSONValue>;

/// By key; of several members with the same key the last one counts.
Members byKey(const simdjson::dom::object& object) {
  Members members;
  for (const auto member : object) members[member.key] = JSONValue(member.value);
  return members;
}

bool coversMembers(const JSONValue& whole, const simdjson::dom::object& part) {
  const auto object = whole.object();
  if (!object) return false;
  const auto found = byKey(*object);
  for (const auto& [key, said] : byKey(part)) {
    const auto other = found.find(key);
    const bool isFalse = said.isBool() && !said.boolValue();
    if (other == found.end() ? !isFalse : !covers(other->second, said)) return false;
  }
  return true;
}

bool coversElements(const JSONValue& whole, const simdjson::dom::array& elements) {
  const auto others = whole.array();
  if (!others || others->size() != elements.size()) return false;
  auto other = others->begin();
  for (const auto element : elements) {
    if (!covers(JSONValue(*other), JSONValue(element))) return false;
    ++other;
  }
  return true;
}

}  // namespace

bool covers(const JSONValue& whole, const JSONValue& part) {
  if (const auto members = part.object()) return coversMembers(whole, *members);
  if (const auto elements = part.array()) return coversElements(whole, *elements);
  if (const auto text = part.string()) return whole.string() == text;
  if (part.isBool()) return whole.isBool() && whole.boolValue() == part.boolValue();
  if (const auto number = part.number()) return whole.number() == number;
  return whole.exists() && !whole.object() && !whole.array() && !whole.string() &&
         !whole.isBool() && !whole.number();
}

}  // namespace orvane
