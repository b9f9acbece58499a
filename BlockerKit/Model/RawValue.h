#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace orvane {

/// Specialised by each enumeration that is written as a word: its `table` pairs every case with
/// its raw value, in the order of declaration.
template <typename Enum>
struct RawValues;

template <typename Enum, std::size_t count>
using RawValueTable = std::array<std::pair<Enum, std::string_view>, count>;

/// The word that stands for `value` in every file, record and JSON document.
template <typename Enum>
constexpr std::string_view rawValue(Enum value) {
  const auto& table = RawValues<Enum>::table;
  return std::find_if(table.begin(), table.end(), [&](auto& entry) { return entry.first == value; })
      ->second;
}

/// The case whose raw value is exactly `raw` (case-sensitive), or nothing.
template <typename Enum>
constexpr std::optional<Enum> fromRawValue(std::string_view raw) {
  const auto& table = RawValues<Enum>::table;
  const auto found =
      std::find_if(table.begin(), table.end(), [&](auto& entry) { return entry.second == raw; });
  if (found == table.end()) return std::nullopt;
  return found->first;
}

}  // namespace orvane
