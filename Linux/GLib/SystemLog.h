#pragma once

#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// The journal, or standard error on a machine that has none.
class SystemLog final : public LineOutput {
 public:
  void print(std::string_view line) override;
};

}  // namespace orvane
