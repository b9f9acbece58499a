#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace orvane {

/// A serial queue: runs tasks one at a time, in the order in which they become due; tasks that
/// become due at the same time run in the order in which they were posted. Any thread may call. A
/// task never runs inside the call that posts it, and lets no exception out.
class Executor {
 public:
  using Task = std::function<void()>;
  using Duration = std::chrono::nanoseconds;
  /// Of a clock that never goes back and that all executors of a machine share.
  using Time = std::chrono::time_point<std::chrono::steady_clock, Duration>;

  Executor() = default;
  Executor(const Executor&) = delete;
  Executor& operator=(const Executor&) = delete;
  /// A task that runs is waited for; those that have not begun by then never run, but are
  /// destroyed. Not to be called from a task of this executor.
  virtual ~Executor() = default;

  /// The task is due at once.
  virtual void post(Task task) = 0;

  /// The task is due once `delay` has passed; a negative one counts as none.
  virtual void postAfter(Duration delay, Task task) = 0;

  /// Runs `task` behind those that are due, and returns when it has run, or when the executor ends
  /// before that. Not to be called from a task of this executor.
  virtual void runAndWait(Task task);

  virtual Time now() const = 0;
};

/// Makes a serial queue of its own; the label is for people who look at the running process.
using SerialQueueFactory = std::function<std::unique_ptr<Executor>(const std::string& label)>;

}  // namespace orvane
