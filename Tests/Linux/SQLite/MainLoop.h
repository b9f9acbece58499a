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
  /// Runs what is ready.
  void runUntilIdle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
    }
  }

  MainLoopExecutor queue;
};

}  // namespace orvane::test
