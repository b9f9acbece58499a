#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace orvane {

/// A serial queue: runs tasks one at a time, in the order in which they become due. Any thread may
/// call. A task never runs inside the call that posts it.
class Executor {
 public:
  using Task = std::function<void()>;
  using Duration = std::chrono::nanoseconds;
  /// Of a clock that never goes back and that all executors of a machine share.
  using Time = std::chrono::time_point<std::chrono::steady_clock, Duration>;

  Executor() = default;
  Executor(const Executor&) = delete;
  Executor& operator=(const Executor&) = delete;
  /// Tasks that have not begun by then never run.
  virtual ~Executor() = default;

  virtual void post(Task task) = 0;

  /// Runs `task` once `delay` has passed.
  virtual void postAfter(Duration delay, Task task) = 0;

  /// Runs `task` behind those that are due, and returns when it has run. Not to be called from a
  /// task of this executor.
  virtual void runAndWait(Task task) = 0;

  virtual Time now() const = 0;
};

/// Makes a serial queue of its own; the label is for people who look at the running process.
using SerialQueueFactory = std::function<std::unique_ptr<Executor>(const std::string& label)>;

}  // namespace orvane
