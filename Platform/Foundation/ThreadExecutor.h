#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/TaskQueue.h"

namespace orvane {

/// Runs its tasks on a thread of its own, from its construction to its destruction.
class ThreadExecutor final : public Executor {
 public:
  /// The thread's name is `label`, as far as the system has room for it.
  explicit ThreadExecutor(const std::string& label);
  ThreadExecutor(const ThreadExecutor&) = delete;
  ThreadExecutor& operator=(const ThreadExecutor&) = delete;
  ~ThreadExecutor() override;

  void post(Task task) override { postAfter(Duration::zero(), std::move(task)); }
  void postAfter(Duration delay, Task task) override;
  Time now() const override { return std::chrono::steady_clock::now(); }

 private:
  void runTasks();
  /// Waits for the next task; empty at the end.
  Task nextTask();

  std::mutex mutex_;
  std::condition_variable changed_;
  TaskQueue tasks_;
  bool ends_ = false;
  std::thread thread_;  // the last one, since it uses the others
};

}  // namespace orvane
