#include "Linux/Posix/ProgramFolder.h"

namespace orvane {

std::filesystem::path programFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

}  // namespace orvane
