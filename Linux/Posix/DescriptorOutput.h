#pragma once

#include <mutex>

#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// Lines to an open file. Each goes out with its line ending in one write, so that lines of several
/// processes that append to one file never mix. Lines of several threads do not mix either where
/// the system takes a long line in pieces, as a pipe does.
class DescriptorOutput final : public LineOutput {
 public:
  /// `descriptor` stays open for as long as the output is used, and is not closed by it.
  explicit DescriptorOutput(int descriptor) : descriptor_(descriptor) {}

  void print(std::string_view line) override;

 private:
  int descriptor_;
  std::mutex mutex_;
};

}  // namespace orvane
