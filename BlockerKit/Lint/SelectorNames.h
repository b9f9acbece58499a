#pragma once

#include <optional>
#include <string_view>

namespace orvane {

/// What may follow a pseudo-element in its compound selector.
enum class PseudoElementKind {
  Plain,      ///< nothing but logical combinations
  UserAgent,  ///< a part of a control: what the user does with it
  Selection,  ///< whether the window is active
  Scrollbar,  ///< the states of a scroll bar
  Part,       ///< everything that is not about the place in the tree
  Slotted,    ///< a few pseudo-elements
};

/// What a functional pseudo-class takes between its parentheses.
enum class PseudoClassArgument {
  ForgivingList,  ///< selectors, of which the browser ignores those that are not valid
  List,
  RelativeList,  ///< selectors that may begin with a combinator
  Compound,
  Nth,    ///< an+b
  NthOf,  ///< an+b and perhaps "of" and selectors
  Languages,
  Identifier,
};

/// What a functional pseudo-element takes between its parentheses.
enum class PseudoElementArgument { CompoundList, Compound, Identifier, Identifiers };

struct FunctionalPseudoElement {
  PseudoElementArgument argument;
  PseudoElementKind kind;
};

/// The names that the browser knows. All of them are given and compared in lower case; without
/// the colons and, of functions, without the parentheses.
bool isPseudoClass(std::string_view name);
std::optional<PseudoClassArgument> functionalPseudoClass(std::string_view name);
/// A name behind two colons.
std::optional<PseudoElementKind> pseudoElement(std::string_view name);
std::optional<FunctionalPseudoElement> functionalPseudoElement(std::string_view name);
/// Whether the pseudo-element `name` may be written with one colon.
bool isLegacyPseudoElement(std::string_view name);

/// Whether the pseudo-class, functional or not, may follow such a pseudo-element.
bool mayFollow(PseudoElementKind kind, std::string_view pseudoClass);
/// Whether the pseudo-element `name` may follow such a pseudo-element.
bool mayFollowAsElement(PseudoElementKind kind, std::string_view name);

}  // namespace orvane
