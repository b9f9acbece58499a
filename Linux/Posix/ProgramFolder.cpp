#include "Linux/Posix/ProgramFolder.h"

#include "Platform/Foundation/FatalError.h"

namespace orvane {

std::filesystem::path programFolder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) fatalError("The running program cannot be found", "Linux/Posix");
  return program.parent_path();
}

}  // namespace orvane
