#include "Linux/Posix/DescriptorOutput.h"

#include <cerrno>
#include <string>

#include <unistd.h>

namespace orvane {

void DescriptorOutput::print(std::string_view line) {
  std::string text;
  text.reserve(line.size() + 1);
  text.append(line).push_back('\n');
  const std::lock_guard lock(mutex_);
  std::string_view rest = text;
  while (!rest.empty()) {
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace orvane
