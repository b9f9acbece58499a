#include "BlockerKit/JSON/JSONCoverage.h"

namespace orvane {
namespace {

bool coversMembers(const JSONValue& whole, const JSONValue& part,
                   const simdjson::dom::object& members) {
  if (!whole.object()) return false;
  for (const auto member : members) {
    // Of several members with the same key the last one counts.
    const auto said = part[member.key];
    const auto found = whole[member.key];
    const bool isFalse = said.isBool() && !said.boolValue();
    if (!(isFalse && !found.exists()) && !covers(found, said)) return false;
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
  if (const auto members = part.object()) return coversMembers(whole, part, *members);
  if (const auto elements = part.array()) return coversElements(whole, *elements);
  if (const auto text = part.string()) return whole.string() == text;
  if (part.isBool()) return whole.isBool() && whole.boolValue() == part.boolValue();
  if (const auto number = part.number()) return whole.number() == number;
  return whole.exists() && !whole.object() && !whole.array() && !whole.string() &&
         !whole.isBool() && !whole.number();
}

}  // namespace orvane
