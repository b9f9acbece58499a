#include "Linux/Posix/DiagnosticLog.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "Linux/Posix/PosixFileSystem.h"

namespace orvane {
namespace {

constexpr std::uint64_t largestLog = 1'000'000;

FileDescriptor open(const std::filesystem::path& path) {
  return FileDescriptor(
      ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

}  // namespace

FileDescriptor openDiagnosticLog(const std::optional<std::filesystem::path>& stateFolder) {
  if (stateFolder) {
    const auto path = *stateFolder / "orvane" / "orvane.log";
    PosixFileSystem files;
    static_cast<void>(files.createDirectories(path.parent_path()));
    const auto attributes = files.attributes(path);
    if (attributes && attributes->size > largestLog) {
      static_cast<void>(files.rename(path, path.string() + ".old"));
    }
    if (auto log = open(path)) return log;
  }
  return open("/dev/null");
}

}  // namespace orvane
