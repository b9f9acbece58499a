#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// A place in the changes of one zone, or of the key-value store: what change tags and change
/// tokens hold.
struct PostgreSQLChangeMark {
  std::int64_t seq = 0;
  std::string epoch;

  /// The number, a dot, and the epoch.
  std::string text() const;
  /// Nothing when that is no such text.
  static std::optional<PostgreSQLChangeMark> parse(std::string_view text);
};

}  // namespace orvane
