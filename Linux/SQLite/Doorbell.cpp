#include "Linux/SQLite/Doorbell.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane {

void ringDoorbell(const std::filesystem::path& file) {
  const FileDescriptor opened(
      ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!opened) return;
  // Always the same byte, so that the file never grows; closing it is what rings.
  [[maybe_unused]] const auto written = ::write(opened.get(), "!", 1);
}

}  // namespace orvane
