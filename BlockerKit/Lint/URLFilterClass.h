#pragma once

#include <optional>
#include <string>

namespace orvane {

/// The set of characters between "[" and "]" of a URL filter, built one character after the other.
class URLFilterClass {
 public:
  /// Adds a character that stands for itself; an unescaped "-" makes a range with its neighbours.
  /// The result is what is wrong with it.
  std::optional<std::string> add(unsigned character, bool escaped);

  /// Adds what is pending; the class is complete.
  std::optional<std::string> finish();

  /// Whether the character 0 is all that the class names. The browser takes such a class, even
  /// a negated one, for the end of the URL.
  bool namesOnlyNull() const { return hasNull_ && !hasOther_; }

 private:
  enum class State { Empty, Character, Hyphen };

  std::optional<std::string> put(unsigned first, unsigned last);

  State state_ = State::Empty;
  unsigned pending_ = 0;
  bool hasNull_ = false;
  bool hasOther_ = false;
};

}  // namespace orvane
