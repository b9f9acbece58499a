#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace orvane::test {

struct ProgramRun {
  /// -1 when a signal ended the program.
  int exitStatus = -1;
  std::string output;
  std::string errors;
};

/// Runs a program to its end, with `folder` as its current folder and its folder for temporary
/// files, and with these variables in its environment besides the ones that are there.
ProgramRun runProgram(const std::vector<std::string>& command, const std::filesystem::path& folder,
                      const std::map<std::string, std::string>& environment = {});

}  // namespace orvane::test
