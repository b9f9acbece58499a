#include "Apps/Demonstration/MainLoop.h"

#include <csignal>

#include <glib-unix.h>

namespace orvane {

namespace {

/// Set on the main loop only.
bool interrupted = false;

}  // namespace

void endWaitsOnSignals() {
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto note = [](gpointer) -> gboolean {
      interrupted = true;
      return G_SOURCE_CONTINUE;
    };
    g_unix_signal_add(signal, note, nullptr);
  }
}

bool wasInterrupted() { return interrupted; }

bool runMainLoopUntil(const std::function<bool()>& isDone, std::chrono::milliseconds limit) {
  bool expired = false;
  const auto expire = [](gpointer flag) -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add(static_cast<guint>(limit.count()), expire, &expired);
  while (!isDone() && !expired && !interrupted) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  return isDone() && !interrupted;
}

}  // namespace orvane
