#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <rapidcheck.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "BlockerKit/Model/Package.h"

namespace orvane::test {

/// `codePoint` in UTF-8.
inline std::string utf8(std::uint32_t codePoint) {
  const auto byte = [](std::uint32_t value) { return static_cast<char>(value); };
  const auto tail = [&](unsigned shift) { return byte(0x80U | ((codePoint >> shift) & 0x3FU)); };
  if (codePoint < 0x80U) return {byte(codePoint)};
  if (codePoint < 0x800U) return {byte(0xC0U | (codePoint >> 6U)), tail(0)};
  if (codePoint < 0x10000U) return {byte(0xE0U | (codePoint >> 12U)), tail(6), tail(0)};
  return {byte(0xF0U | (codePoint >> 18U)), tail(12), tail(6), tail(0)};
}

/// Any code point of a valid text, often one that an encoder has to treat with care.
inline rc::Gen<std::uint32_t> codePoints() {
  const auto range = [](std::uint32_t first, std::uint32_t last) {
    return rc::gen::inRange<std::uint32_t>(first, last + 1);
  };
  return rc::gen::weightedOneOf<std::uint32_t>(
      {{6, range('a', 'z')},
       {3, rc::gen::element<std::uint32_t>('"', '\\', '/', ',', ':', '{', '}', '[', ']', ' ')},
       {2, range(0, 0x1F)},
       {1, range(0x20, 0x7F)},
       {1, range(0x80, 0x7FF)},
       {1, rc::gen::oneOf(range(0x800, 0xD7FF), range(0xE000, 0xFFFF))},
       {1, range(0x10000, 0x10FFFF)}});
}

/// Any valid text, the empty one among them.
inline rc::Gen<std::string> texts() {
  return rc::gen::map(rc::gen::container<std::vector<std::uint32_t>>(codePoints()),
                      [](const std::vector<std::uint32_t>& points) {
                        std::string text;
                        for (const auto point : points) text += utf8(point);
                        return text;
                      });
}

/// Absent half of the time.
template <typename Value>
rc::Gen<std::optional<Value>> optionals(const rc::Gen<Value>& values) {
  return rc::gen::oneOf(
      rc::gen::just(std::optional<Value>()),
      rc::gen::map(values, [](Value value) { return std::optional<Value>(std::move(value)); }));
}

template <typename Enum>
rc::Gen<Enum> cases() {
  return rc::gen::map(
      rc::gen::elementOf(std::vector(RawValues<Enum>::table.begin(), RawValues<Enum>::table.end())),
      [](const auto& entry) { return entry.first; });
}

template <typename Enum>
rc::Gen<std::vector<Enum>> caseLists() {
  return rc::gen::resize(9, rc::gen::container<std::vector<Enum>>(cases<Enum>()));
}

inline rc::Gen<DomainFilter> domainFilters() {
  return rc::gen::apply(
      [](DomainFilterType type, std::vector<std::string> values) {
        return DomainFilter{type, std::move(values)};
      },
      cases<DomainFilterType>(),
      rc::gen::resize(8,
                      rc::gen::container<std::vector<std::string>>(rc::gen::resize(12, texts()))));
}

inline rc::Gen<Trigger> triggers() {
  return rc::gen::apply(
      [](std::string urlFilter, bool caseSensitive,
         std::optional<std::vector<ResourceType>> resourceTypes,
         std::optional<std::vector<LoadType>> loadType, std::optional<DomainFilter> filter) {
        return Trigger{std::move(urlFilter), caseSensitive, std::move(resourceTypes),
                       std::move(loadType), std::move(filter)};
      },
      texts(), rc::gen::arbitrary<bool>(), optionals(caseLists<ResourceType>()),
      optionals(caseLists<LoadType>()), optionals(domainFilters()));
}

/// Any action that a document can carry.
inline rc::Gen<Action> actions() {
  return rc::gen::apply(
      [](ActionType type, std::optional<std::string> selector) {
        return Action::asRead(type, std::move(selector));
      },
      cases<ActionType>(), optionals(texts()));
}

inline rc::Gen<Blocker> blockers() {
  return rc::gen::apply(
      [](Trigger trigger, Action action) {
        return Blocker{std::move(trigger), std::move(action)};
      },
      triggers(), actions());
}

/// Few enough identifiers that two rules of a package often have the same one.
inline rc::Gen<std::string> fewIdentifiers() {
  return rc::gen::element<std::string>("", "1", "2", "3", "4", "\"quoted\"");
}

inline rc::Gen<Rule> rules(const rc::Gen<std::string>& identifiers = texts()) {
  return rc::gen::apply(
      [](std::string id, std::string name, Blocker blocker) {
        return Rule{std::move(id), std::move(name), std::move(blocker)};
      },
      identifiers, texts(), blockers());
}

inline rc::Gen<Package> packages(const rc::Gen<std::string>& identifiers = texts(),
                                 const rc::Gen<std::string>& ruleIdentifiers = texts()) {
  return rc::gen::apply(
      [](std::string id, std::string name, std::vector<Rule> packageRules) {
        return Package{std::move(id), std::move(name), std::move(packageRules)};
      },
      identifiers, texts(),
      rc::gen::resize(6, rc::gen::container<std::vector<Rule>>(rules(ruleIdentifiers))));
}

inline rc::Gen<std::vector<Package>> packageLists(
    const rc::Gen<std::string>& identifiers = texts(),
    const rc::Gen<std::string>& ruleIdentifiers = texts()) {
  return rc::gen::resize(
      5, rc::gen::container<std::vector<Package>>(packages(identifiers, ruleIdentifiers)));
}

}  // namespace orvane::test

namespace orvane {

// How a counterexample shows the values of the model: found by argument-dependent lookup.

template <typename Value>
void showAsJSON(const Value& value, std::ostream& os) {
  os << toJSON(value).value_or("(a text that is not valid UTF-8)");
}
inline void showValue(const Trigger& trigger, std::ostream& os) { showAsJSON(trigger, os); }
inline void showValue(const Action& action, std::ostream& os) { showAsJSON(action, os); }
inline void showValue(const Blocker& blocker, std::ostream& os) { showAsJSON(blocker, os); }
inline void showValue(const Rule& rule, std::ostream& os) { showAsJSON(rule, os); }
inline void showValue(const Package& package, std::ostream& os) { showAsJSON(package, os); }

}  // namespace orvane
