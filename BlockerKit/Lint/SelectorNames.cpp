#include "BlockerKit/Lint/SelectorNames.h"

#include <algorithm>
#include <array>
#include <utility>

namespace orvane {
namespace {

using namespace std::literals;

template <std::size_t count>
bool contains(const std::array<std::string_view, count>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

template <typename Value, std::size_t count>
std::optional<Value> find(const std::array<std::pair<std::string_view, Value>, count>& table,
                          std::string_view name) {
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&](const auto& entry) { return entry.first == name; });
  if (found == table.end()) return std::nullopt;
  return found->second;
}

constexpr std::array pseudoClasses{
    "-webkit-any-link"sv,
    "-webkit-autofill"sv,
    "-webkit-autofill-and-obscured"sv,
    "-webkit-autofill-strong-password"sv,
    "-webkit-autofill-strong-password-viewable"sv,
    "-webkit-drag"sv,
    "-webkit-full-screen"sv,
    "active"sv,
    "any-link"sv,
    "autofill"sv,
    "buffering"sv,
    "checked"sv,
    "corner-present"sv,
    "decrement"sv,
    "default"sv,
    "defined"sv,
    "disabled"sv,
    "double-button"sv,
    "empty"sv,
    "enabled"sv,
    "end"sv,
    "first-child"sv,
    "first-of-type"sv,
    "focus"sv,
    "focus-visible"sv,
    "focus-within"sv,
    "fullscreen"sv,
    "future"sv,
    "horizontal"sv,
    "host"sv,
    "hover"sv,
    "in-range"sv,
    "increment"sv,
    "indeterminate"sv,
    "invalid"sv,
    "last-child"sv,
    "last-of-type"sv,
    "link"sv,
    "modal"sv,
    "muted"sv,
    "no-button"sv,
    "only-child"sv,
    "only-of-type"sv,
    "optional"sv,
    "out-of-range"sv,
    "past"sv,
    "paused"sv,
    "placeholder-shown"sv,
    "playing"sv,
    "read-only"sv,
    "read-write"sv,
    "required"sv,
    "root"sv,
    "scope"sv,
    "seeking"sv,
    "single-button"sv,
    "stalled"sv,
    "start"sv,
    "target"sv,
    "user-invalid"sv,
    "user-valid"sv,
    "valid"sv,
    "vertical"sv,
    "visited"sv,
    "volume-locked"sv,
    "window-inactive"sv,
};

constexpr std::array functionalPseudoClasses{
    std::pair{"-webkit-any"sv, PseudoClassArgument::ForgivingList},
    std::pair{"dir"sv, PseudoClassArgument::Identifier},
    std::pair{"has"sv, PseudoClassArgument::RelativeList},
    std::pair{"host"sv, PseudoClassArgument::Compound},
    std::pair{"is"sv, PseudoClassArgument::ForgivingList},
    std::pair{"lang"sv, PseudoClassArgument::Languages},
    std::pair{"matches"sv, PseudoClassArgument::ForgivingList},
    std::pair{"not"sv, PseudoClassArgument::List},
    std::pair{"nth-child"sv, PseudoClassArgument::NthOf},
    std::pair{"nth-last-child"sv, PseudoClassArgument::NthOf},
    std::pair{"nth-last-of-type"sv, PseudoClassArgument::Nth},
    std::pair{"nth-of-type"sv, PseudoClassArgument::Nth},
    std::pair{"state"sv, PseudoClassArgument::Identifier},
    std::pair{"where"sv, PseudoClassArgument::ForgivingList},
};

constexpr std::array pseudoElements{
    std::pair{"after"sv, PseudoElementKind::Plain},
    std::pair{"backdrop"sv, PseudoElementKind::Plain},
    std::pair{"before"sv, PseudoElementKind::Plain},
    std::pair{"cue"sv, PseudoElementKind::UserAgent},
    std::pair{"details-content"sv, PseudoElementKind::UserAgent},
    std::pair{"file-selector-button"sv, PseudoElementKind::UserAgent},
    std::pair{"first-letter"sv, PseudoElementKind::Plain},
    std::pair{"first-line"sv, PseudoElementKind::Plain},
    std::pair{"grammar-error"sv, PseudoElementKind::Plain},
    std::pair{"marker"sv, PseudoElementKind::Plain},
    std::pair{"placeholder"sv, PseudoElementKind::UserAgent},
    std::pair{"selection"sv, PseudoElementKind::Selection},
    std::pair{"spelling-error"sv, PseudoElementKind::Plain},
    std::pair{"-webkit-resizer"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar-button"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar-corner"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar-thumb"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar-track"sv, PseudoElementKind::Scrollbar},
    std::pair{"-webkit-scrollbar-track-piece"sv, PseudoElementKind::Scrollbar},
};

constexpr std::array functionalPseudoElements{
    std::pair{"cue"sv, FunctionalPseudoElement{PseudoElementArgument::CompoundList,
                                               PseudoElementKind::Plain}},
    std::pair{"highlight"sv,
              FunctionalPseudoElement{PseudoElementArgument::Identifier, PseudoElementKind::Plain}},
    std::pair{"part"sv,
              FunctionalPseudoElement{PseudoElementArgument::Identifiers, PseudoElementKind::Part}},
    std::pair{"slotted"sv,
              FunctionalPseudoElement{PseudoElementArgument::Compound, PseudoElementKind::Slotted}},
};

constexpr std::array legacyPseudoElements{"after"sv, "before"sv, "first-letter"sv, "first-line"sv};

constexpr std::array logicalCombinations{"-webkit-any"sv, "has"sv, "is"sv,
                                         "matches"sv,     "not"sv, "where"sv};

constexpr std::array userActions{"active"sv, "focus"sv, "focus-visible"sv, "focus-within"sv,
                                 "hover"sv};

constexpr std::array scrollbarStates{
    "active"sv,    "corner-present"sv, "decrement"sv,
    "disabled"sv,  "double-button"sv,  "enabled"sv,
    "end"sv,       "horizontal"sv,     "hover"sv,
    "increment"sv, "no-button"sv,      "single-button"sv,
    "start"sv,     "vertical"sv,       "window-inactive"sv,
};

constexpr std::array treeStructural{
    "empty"sv,          "first-child"sv,      "first-of-type"sv, "last-child"sv,
    "last-of-type"sv,   "nth-child"sv,        "nth-of-type"sv,   "only-child"sv,
    "nth-last-child"sv, "nth-last-of-type"sv, "only-of-type"sv,  "root"sv,
};

constexpr std::array slottedElements{"after"sv, "backdrop"sv, "before"sv, "marker"sv};

}  // namespace

bool isPseudoClass(std::string_view name) { return contains(pseudoClasses, name); }

std::optional<PseudoClassArgument> functionalPseudoClass(std::string_view name) {
  return find(functionalPseudoClasses, name);
}

std::optional<PseudoElementKind> pseudoElement(std::string_view name) {
  const auto known = find(pseudoElements, name);
  if (known) return known;
  // The browser keeps every name with its own prefix, known or not.
  if (name.starts_with("-webkit-")) return PseudoElementKind::UserAgent;
  return std::nullopt;
}

std::optional<FunctionalPseudoElement> functionalPseudoElement(std::string_view name) {
  return find(functionalPseudoElements, name);
}

bool isLegacyPseudoElement(std::string_view name) { return contains(legacyPseudoElements, name); }

bool mayFollow(PseudoElementKind kind, std::string_view pseudoClass) {
  if (contains(logicalCombinations, pseudoClass)) return true;
  switch (kind) {
    case PseudoElementKind::Plain:
    case PseudoElementKind::Slotted:
      return false;
    case PseudoElementKind::UserAgent:
      return contains(userActions, pseudoClass);
    case PseudoElementKind::Selection:
      return pseudoClass == "window-inactive";
    case PseudoElementKind::Scrollbar:
      return contains(scrollbarStates, pseudoClass);
    case PseudoElementKind::Part:
      break;
  }
  return !contains(treeStructural, pseudoClass);
}

bool mayFollowAsElement(PseudoElementKind kind, std::string_view name) {
  if (kind == PseudoElementKind::Part) return name != "part";
  return kind == PseudoElementKind::Slotted && contains(slottedElements, name);
}

}  // namespace orvane
