#include "Linux/GLib/MainLoopExecutor.h"

namespace orvane {

MainLoopExecutor::MainLoopExecutor(GMainContext* context) {
  static GSourceFuncs functions{nullptr, nullptr, dispatch, nullptr, nullptr, nullptr};
  doorbell_ = g_source_new(&functions, sizeof(GSource));
  // Dispatch alone reads the callback, for the data that comes with it.
  g_source_set_callback(doorbell_, nullptr, this, nullptr);
  g_source_attach(doorbell_, context);
}

MainLoopExecutor::~MainLoopExecutor() {
  TaskQueue::Tasks dropped;
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
    dropped = tasks_.takeAll();
    g_source_destroy(doorbell_);
    g_source_unref(doorbell_);
  }
}

void MainLoopExecutor::postAfter(Duration delay, Task task) {
  const std::lock_guard lock(mutex_);
  if (ends_) return;
  tasks_.add(now(), delay, std::move(task));
  setDoorbell();
}

gboolean MainLoopExecutor::dispatch(GSource*, GSourceFunc, gpointer executor) {
  static_cast<MainLoopExecutor*>(executor)->runDueTasks();
  return G_SOURCE_CONTINUE;
}

void MainLoopExecutor::runDueTasks() {
  TaskQueue::Place end;
  {
    const std::lock_guard lock(mutex_);
    end = tasks_.endOfDue(now());
  }
  // What becomes due meanwhile waits until the context's other sources have had their turn.
  while (auto task = takeBefore(end)) task();
  const std::lock_guard lock(mutex_);
  setDoorbell();
}

Executor::Task MainLoopExecutor::takeBefore(const TaskQueue::Place& end) {
  const std::lock_guard lock(mutex_);
  return tasks_.takeBefore(end);
}

void MainLoopExecutor::setDoorbell() {
  constexpr gint64 never = -1;
  constexpr gint64 atOnce = 0;
  const auto due = tasks_.nextDue();
  if (!due) return g_source_set_ready_time(doorbell_, never);
  if (*due <= now()) return g_source_set_ready_time(doorbell_, atOnce);
  // GLib counts the microseconds of the same clock. Rounded up, so as not to ring too early.
  const auto time = std::chrono::ceil<std::chrono::microseconds>(due->time_since_epoch());
  g_source_set_ready_time(doorbell_, time.count());
}

}  // namespace orvane
