#pragma once

#include <string_view>

namespace orvane {

/// Somewhere that lines of text go to: a process has one as its standard output and another as the
/// system log. May be called on any thread; lines of two threads never mix.
class LineOutput {
 public:
  LineOutput() = default;
  LineOutput(const LineOutput&) = delete;
  LineOutput& operator=(const LineOutput&) = delete;
  virtual ~LineOutput() = default;

  /// Writes `line`, which has no line ending of its own. A line that cannot be written is lost.
  virtual void print(std::string_view line) = 0;
};

}  // namespace orvane
