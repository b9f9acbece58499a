#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace orvane::test {

/// The only source of chance of a run: the same seed gives the same run on every machine.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  /// A number from 0 up to, but not including, `end`.
  std::size_t below(std::size_t end) { return static_cast<std::size_t>(engine_() % end); }
  std::size_t between(std::size_t least, std::size_t most) {
    return least + below(most - least + 1);
  }
  bool chance(std::size_t percent) { return below(100) < percent; }
  template <typename Items>
  const auto& oneOf(const Items& items) {
    return items[below(items.size())];
  }

 private:
  std::mt19937_64 engine_;
};

}  // namespace orvane::test
