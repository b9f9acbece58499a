#include "Linux/Posix/PosixError.h"

#include <cerrno>
#include <system_error>

#include <fmt/format.h>

namespace orvane {

NSError posixError(std::string_view operation, const std::filesystem::path& path) {
  const int code = errno;
  return {NSPOSIXErrorDomain, code,
          fmt::format("Cannot {} '{}': {}", operation, path.string(),
                      std::generic_category().message(code))};
}

}  // namespace orvane
