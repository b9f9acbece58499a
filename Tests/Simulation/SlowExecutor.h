#pragma once

#include <deque>
#include <functional>
#include <utility>

#include "Platform/Foundation/Executor.h"

namespace orvane::test {

/// A queue that lets each task wait for a while, in the order in which they came: the way to a
/// cloud.
class SlowExecutor final : public Executor {
 public:
  /// `queue` outlives this and has no other tasks.
  SlowExecutor(Executor& queue, std::function<Duration()> delay)
      : queue_(queue), delay_(std::move(delay)) {}

  void post(Task task) override { postAfter(Duration::zero(), std::move(task)); }
  void postAfter(Duration delay, Task task) override {
    tasks_.push_back(std::move(task));
    queue_.postAfter(delay + delay_(), [this] { runNext(); });
  }
  void runAndWait(Task task) override {
    queue_.runAndWait([&] {
      while (!tasks_.empty()) runNext();
      task();
    });
  }
  Time now() const override { return queue_.now(); }

 private:
  void runNext() {
    if (tasks_.empty()) return;
    const auto task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
  }

  Executor& queue_;
  std::function<Duration()> delay_;
  std::deque<Task> tasks_;
};

}  // namespace orvane::test
