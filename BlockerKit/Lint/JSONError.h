#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

struct JSONError {
  /// Where reading stopped, in bytes.
  std::size_t offset = 0;
  /// Without a full stop.
  std::string reason;
};

/// Why and where a text is not JSON; nothing when it is JSON, though perhaps with numbers or levels
/// that are beyond the limits of `JSONDocument`.
std::optional<JSONError> findJSONError(std::string_view text);

/// Whether the values of a JSON text are nested too deeply for the browser.
bool isNestedTooDeeply(std::string_view json);

}  // namespace orvane
