#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>

namespace orvane::test {

/// Empty if the file cannot be read.
inline std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The permissions of the file; none if it is not there.
inline mode_t modeOf(const std::filesystem::path& file) {
  struct stat status {};
  return ::stat(file.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
}

}  // namespace orvane::test
