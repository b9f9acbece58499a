#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace orvane {

struct ProgramRun {
  /// -1 when the program did not end by itself in time.
  int exitStatus = -1;
  /// What it wrote to its standard output and error output.
  std::string output;
};

/// Runs a program in `folder`, which becomes its folder for temporary files too, to its end.
ProgramRun runProgram(const std::vector<std::string>& command, const std::filesystem::path& folder,
                      std::chrono::seconds limit = std::chrono::seconds(120));

}  // namespace orvane
