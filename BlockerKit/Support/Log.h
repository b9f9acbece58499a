#pragma once

namespace orvane {

/// Debug output, which is switched off in the product as delivered.
class Log {
 public:
  /// Does nothing, and does not even format `value`.
  template <typename Value>
  static void print(const Value& /*value*/, const char* /*file*/ = __builtin_FILE(),
                    const char* /*function*/ = __builtin_FUNCTION(),
                    int /*line*/ = __builtin_LINE()) {}
};

}  // namespace orvane
