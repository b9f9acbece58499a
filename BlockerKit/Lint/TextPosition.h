#pragma once

#include <cstddef>
#include <string_view>

namespace orvane {

/// A place in a text for a person: both count from 1, the column in characters.
struct TextPosition {
  std::size_t line = 1;
  std::size_t column = 1;

  friend bool operator==(const TextPosition&, const TextPosition&) = default;
};

/// Finds lines and columns in a text, which outlives it. Offsets that grow from call to call cost
/// one pass over the text together.
class TextPositions {
 public:
  explicit TextPositions(std::string_view text) : text_(text) {}

  /// The position of the byte at `offset`; an offset beyond the end means the end.
  TextPosition at(std::size_t offset);

 private:
  std::string_view text_;
  std::size_t offset_ = 0;
  TextPosition position_;
};

}  // namespace orvane
