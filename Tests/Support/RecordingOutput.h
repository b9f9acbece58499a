#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Foundation/LineOutput.h"

namespace orvane::test {

/// Keeps the lines that were printed. One thread.
class RecordingOutput final : public LineOutput {
 public:
  void print(std::string_view line) override { lines.emplace_back(line); }

  /// The lines since the last call.
  std::vector<std::string> take() { return std::exchange(lines, {}); }

  std::vector<std::string> lines;
};

}  // namespace orvane::test
