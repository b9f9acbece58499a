#pragma once

#include <glib.h>

#include "Linux/GLib/MainLoopExecutor.h"

namespace orvane::test {

/// Runs GLib's default main context in the test's own thread.
class MainLoop {
 public:
  template <typename Condition>
  void runUntil(Condition condition) {
    while (!condition()) g_main_context_iteration(nullptr, TRUE);
  }
  /// For a condition whose coming true wakes no main loop, such as what a file says.
  template <typename Condition>
  void lookUntil(Condition condition) {
    constexpr guint milliseconds = 2;
    const auto goOn = [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; };
    const guint ticks = g_timeout_add(milliseconds, goOn, nullptr);
    runUntil(condition);
    g_source_remove(ticks);
  }
  /// Runs what is ready.
  void runUntilIdle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }

  MainLoopExecutor queue;
};

}  // namespace orvane::test
