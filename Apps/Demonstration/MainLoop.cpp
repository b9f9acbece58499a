#include "Apps/Demonstration/MainLoop.h"

#include <glib.h>

namespace orvane {

bool runMainLoopUntil(const std::function<bool()>& isDone, std::chrono::milliseconds limit) {
  bool expired = false;
  const auto expire = [](gpointer flag) -> gboolean {
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_CONTINUE;
  };
  const guint timer = g_timeout_add(static_cast<guint>(limit.count()), expire, &expired);
  while (!isDone() && !expired) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(timer);
  return isDone();
}

}  // namespace orvane
