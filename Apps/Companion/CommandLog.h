#pragma once

#include "Platform/Foundation/LineOutput.h"

namespace orvane {

/// The system log of a command: what it says is why the command failed, so the user reads it, on
/// standard error.
class CommandLog final : public LineOutput {
 public:
  void print(std::string_view line) override;
};

}  // namespace orvane
