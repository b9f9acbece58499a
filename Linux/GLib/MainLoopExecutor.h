#pragma once

#include <mutex>
#include <utility>

#include <glib.h>

#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/TaskQueue.h"

namespace orvane {

/// Runs its tasks on the thread that runs a main context of GLib, among that context's other
/// sources. `runAndWait` is for other threads. To be destroyed on the context's thread, or while
/// no thread runs the context.
class MainLoopExecutor final : public Executor {
 public:
  /// Without `context`, the default one: that of the main thread.
  explicit MainLoopExecutor(GMainContext* context = nullptr);
  MainLoopExecutor(const MainLoopExecutor&) = delete;
  MainLoopExecutor& operator=(const MainLoopExecutor&) = delete;
  ~MainLoopExecutor() override;

  void post(Task task) override { postAfter(Duration::zero(), std::move(task)); }
  void postAfter(Duration delay, Task task) override;
  Time now() const override { return std::chrono::steady_clock::now(); }

 private:
  static gboolean dispatch(GSource* source, GSourceFunc callback, gpointer data);
  void runDueTasks();
  Task takeBefore(const TaskQueue::Place& end);
  /// Has the source wake the context when the next task is due. The mutex is locked.
  void setDoorbell();

  // GLib hears only when to ring: it is handed no closure, which it would pass between threads and
  // destroy at a time of its own.
  GSource* doorbell_;
  std::mutex mutex_;
  TaskQueue tasks_;
  bool ends_ = false;
};

}  // namespace orvane
