#include "Tests/EndToEnd/VirtualDisplay.h"

#include <csignal>
#include <string>

#include <gtk/gtk.h>

namespace orvane {
namespace {

/// The server says which display it has once it is ready for clients.
std::string displayOf(GSubprocess* server) {
  const GObjectPointer<GDataInputStream> output(
      g_data_input_stream_new(g_subprocess_get_stdout_pipe(server)));
  gchar* line = g_data_input_stream_read_line(output.get(), nullptr, nullptr, nullptr);
  std::string display = line == nullptr ? "" : std::string(":") + line;
  g_free(line);
  return display;
}

}  // namespace

VirtualDisplay& VirtualDisplay::ofThisProcess() {
  static VirtualDisplay display;
  return display;
}

VirtualDisplay::VirtualDisplay()
    : server_(g_subprocess_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                             G_SUBPROCESS_FLAGS_STDERR_SILENCE),
                               nullptr, "Xvfb", "-displayfd", "1", "-screen", "0", "2560x2048x24",
                               "-nolisten", "tcp", nullptr)) {
  if (!server_) return;
  const std::string display = displayOf(server_.get());
  if (display.empty()) return;
  g_setenv("DISPLAY", display.c_str(), TRUE);
  g_setenv("GDK_BACKEND", "x11", TRUE);
  g_setenv("GSK_RENDERER", "cairo", TRUE);
  g_setenv("GTK_A11Y", "none", TRUE);
  isReady_ = gtk_init_check() != FALSE;
}

VirtualDisplay::~VirtualDisplay() {
  if (server_) g_subprocess_send_signal(server_.get(), SIGTERM);
}

}  // namespace orvane
