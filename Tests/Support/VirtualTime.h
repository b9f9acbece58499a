#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/Executor.h"

namespace orvane::test {

/// A clock that stands still until a test turns it, and the executors that run on it, all in the
/// test's own thread. What is due runs in the order in which it became due, whatever its queue. The
/// clock outlives its executors.
class VirtualTime {
 public:
  /// Runs what is due, and what becomes due by that, until nothing is.
  void runUntilIdle() {
    while (runOne()) {
    }
  }

  /// Turns the clock, running each task at its time.
  void advance(Executor::Duration duration) {
    const auto end = now_ + duration;
    runUntilIdle();
    while (!tasks_.empty() && tasks_.begin()->first.first <= end) {
      now_ = tasks_.begin()->first.first;
      runUntilIdle();
    }
    now_ = end;
  }

  /// Runs one task that is due; false when none is.
  bool runOne() {
    if (tasks_.empty() || tasks_.begin()->first.first > now_) return false;
    auto task = tasks_.extract(tasks_.begin());
    task.mapped().run();
    return true;
  }

  std::unique_ptr<Executor> makeExecutor();

  Executor::Time now() const { return now_; }

 private:
  class Queue;
  struct Task {
    const Queue* queue;
    Executor::Task run;
  };
  using Due = std::pair<Executor::Time, std::uint64_t>;

  Executor::Time now_{};
  std::uint64_t count_ = 0;
  std::map<Due, Task> tasks_;
};

class VirtualTime::Queue final : public Executor {
 public:
  explicit Queue(VirtualTime& time) : time_(time) {}
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  ~Queue() override {
    std::erase_if(time_.tasks_, [this](const auto& task) { return task.second.queue == this; });
  }

  void post(Task task) override { postAfter(Duration(0), std::move(task)); }
  void postAfter(Duration delay, Task task) override {
    time_.tasks_.emplace(Due{time_.now_ + delay, time_.count_++},
                         VirtualTime::Task{this, std::move(task)});
  }
  void runAndWait(Task task) override {
    while (auto own = takeDue()) own.run();
    task();
  }
  Time now() const override { return time_.now_; }

 private:
  struct Taken {
    Executor::Task run;
    explicit operator bool() const { return run != nullptr; }
  };

  Taken takeDue() {
    for (auto at = time_.tasks_.begin(); at != time_.tasks_.end(); ++at) {
      if (at->first.first > time_.now_) break;
      if (at->second.queue == this) return {time_.tasks_.extract(at).mapped().run};
    }
    return {};
  }

  VirtualTime& time_;
};

inline std::unique_ptr<Executor> VirtualTime::makeExecutor() {
  return std::make_unique<Queue>(*this);
}

}  // namespace orvane::test
