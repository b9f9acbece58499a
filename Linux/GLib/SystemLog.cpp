#include "Linux/GLib/SystemLog.h"

#include <array>

#include <glib.h>
#include <unistd.h>

#include "Linux/Posix/DescriptorOutput.h"

namespace orvane {

void SystemLog::print(std::string_view line) {
  const std::array<GLogField, 3> fields{{
      {"MESSAGE", line.data(), static_cast<gssize>(line.size())},
      {"PRIORITY", "6", -1},
      {"SYSLOG_IDENTIFIER", "orvane", -1},
  }};
  const auto written =
      g_log_writer_journald(G_LOG_LEVEL_INFO, fields.data(), fields.size(), nullptr);
  if (written == G_LOG_WRITER_UNHANDLED) DescriptorOutput(STDERR_FILENO).print(line);
}

}  // namespace orvane
