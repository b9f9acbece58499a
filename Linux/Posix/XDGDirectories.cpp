#include "Linux/Posix/XDGDirectories.h"

#include <cstdlib>

namespace orvane {
namespace {

std::optional<std::filesystem::path> absolutePath(const char* variable) {
  // Read once, before the process has other threads.
  const char* value = std::getenv(variable);  // NOLINT(concurrency-mt-unsafe)
  if (value == nullptr || *value != '/') return std::nullopt;
  return value;
}

std::optional<std::filesystem::path> directory(const char* variable, const char* belowHome) {
  if (auto path = absolutePath(variable)) return path;
  if (const auto home = absolutePath("HOME")) return *home / belowHome;
  return std::nullopt;
}

}  // namespace

XDGDirectories XDGDirectories::ofThisProcess() {
  return {.data = directory("XDG_DATA_HOME", ".local/share"),
          .config = directory("XDG_CONFIG_HOME", ".config"),
          .state = directory("XDG_STATE_HOME", ".local/state"),
          .cache = directory("XDG_CACHE_HOME", ".cache")};
}

UserDirectories XDGDirectories::userDirectories() const {
  if (!data) return {};
  return {.groupContainers = *data / "orvane", .documents = {*data / "orvane" / "Documents"}};
}

}  // namespace orvane
