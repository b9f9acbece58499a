#include "Linux/GLib/ProcessInfo.h"

#include <array>
#include <charconv>
#include <memory>

#include <glib.h>

namespace orvane {
namespace {

using GText = std::unique_ptr<gchar, decltype(&g_free)>;

/// The first line, which is taken away.
std::string_view takeLine(std::string_view& text) {
  const auto end = text.find('\n');
  const auto line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

}  // namespace

std::optional<std::string> prettyHostName(std::string_view machineInfo) {
  constexpr std::string_view key = "PRETTY_HOSTNAME=";
  while (!machineInfo.empty()) {
    const auto line = takeLine(machineInfo);
    if (!line.starts_with(key)) continue;
    const GText name(g_shell_unquote(std::string(line.substr(key.size())).c_str(), nullptr),
                     g_free);
    if (name == nullptr || *name == '\0') return std::nullopt;
    return name.get();
  }
  return std::nullopt;
}

NSOperatingSystemVersion operatingSystemVersion(std::string_view release) {
  std::array<int, 3> numbers{};
  const char* at = release.data();
  const char* const end = at + release.size();
  for (auto& number : numbers) {
    const auto read = std::from_chars(at, end, number);
    if (read.ec != std::errc() || number < 0) return {};
    if (read.ptr == end) return {numbers[0], numbers[1], numbers[2]};
    if (*read.ptr != '.') return {};
    at = read.ptr + 1;
  }
  return {};
}

NSProcessInfo processInfo(FileSystem& files) {
  const auto machineInfo = files.read("/etc/machine-info");
  const auto prettyName = machineInfo ? prettyHostName(*machineInfo) : std::nullopt;
  const GText release(g_get_os_info(G_OS_INFO_KEY_VERSION_ID), g_free);
  return {prettyName.value_or(g_get_host_name()),
          release == nullptr ? NSOperatingSystemVersion() : operatingSystemVersion(release.get())};
}

}  // namespace orvane
