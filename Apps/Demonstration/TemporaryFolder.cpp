#include "Apps/Demonstration/TemporaryFolder.h"

#include <cstdlib>
#include <string>

#include "Linux/Posix/PosixError.h"

namespace orvane {

Expected<std::unique_ptr<TemporaryFolder>> TemporaryFolder::make() {
  std::error_code error;
  const auto parent = std::filesystem::temp_directory_path(error);
  std::string path = (error ? "/tmp" : parent) / "orvane-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) return tl::unexpected(posixError("make", path));
  return std::unique_ptr<TemporaryFolder>(new TemporaryFolder(path));
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace orvane
