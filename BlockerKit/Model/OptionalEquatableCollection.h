#pragma once

#include <concepts>
#include <optional>
#include <vector>

namespace orvane {

template <typename>
inline constexpr bool isOptionalList = false;
template <typename Element>
inline constexpr bool isOptionalList<std::optional<std::vector<Element>>> = true;

/// An optional ordered list. Two of them are equal when both are absent, or when both are present
/// and hold equal elements in the same order; an absent list differs from a present empty one.
template <typename Collection>
concept OptionalEquatableCollection =
    isOptionalList<Collection> && std::equality_comparable<Collection>;

}  // namespace orvane
