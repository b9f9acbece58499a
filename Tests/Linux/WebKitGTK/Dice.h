#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace orvane {

/// Random choices that are the same for the same seed.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : engine_(seed) {}

  std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }
  bool percent(std::size_t chance) { return below(100) < chance; }

  std::string pick(std::span<const std::string_view> words) {
    return std::string(words[below(words.size())]);
  }
  std::string pick(std::initializer_list<std::string_view> words) {
    return pick(std::span(words.begin(), words.size()));
  }

  /// `text` with one of `words` put into it at a random place, perhaps over what is there.
  std::string mutated(std::string text, std::span<const std::string_view> words) {
    const std::size_t begin = characterAt(text, below(text.size() + 1));
    const std::size_t end = characterAt(text, begin + below(3));
    return text.replace(begin, end - begin, pick(words));
  }

 private:
  /// The begin of the first UTF-8 character at or behind `place`.
  static std::size_t characterAt(std::string_view text, std::size_t place) {
    while (place < text.size() && (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80) ++place;
    return std::min(place, text.size());
  }

  std::mt19937_64 engine_;
};

}  // namespace orvane
