#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

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
  bool runOne();

  std::unique_ptr<Executor> makeExecutor();

  Executor::Time now() const { return now_; }

 private:
  class Queue;
  struct Entry {
    Queue* queue;
    Executor::Task task;
  };
  using Place = std::pair<Executor::Time, std::uint64_t>;
  using Entries = std::map<Place, Entry>;

  void run(Entries::iterator entry);

  Executor::Time now_{};
  std::uint64_t count_ = 0;
  Entries tasks_;
};

class VirtualTime::Queue final : public Executor {
 public:
  explicit Queue(VirtualTime& time) : time_(time) {}
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  ~Queue() override {
    ends_ = true;
    // What the tasks hold may post when it is destroyed.
    std::vector<Entries::node_type> dropped;
    for (auto at = time_.tasks_.begin(); at != time_.tasks_.end();) {
      const auto entry = at++;
      if (entry->second.queue == this) dropped.push_back(time_.tasks_.extract(entry));
    }
  }

  void post(Task task) override { postAfter(Duration::zero(), std::move(task)); }
  void postAfter(Duration delay, Task task) override {
    if (ends_) return;
    const auto due = time_.now_ + std::max(delay, Duration::zero());
    time_.tasks_.emplace(Place{due, time_.count_++}, Entry{this, std::move(task)});
  }
  void runAndWait(Task task) override {
    // Where threads do this, the wait has no end.
    if (isRunning_) throw std::logic_error("A task waits for the queue that it runs on");
    bool ran = false;
    post([&] {
      task();
      ran = true;
    });
    while (!ran) time_.run(first());
  }
  Time now() const override { return time_.now_; }

  void run(const Task& task) {
    isRunning_ = true;
    task();
    isRunning_ = false;
  }

 private:
  Entries::iterator first() {
    return std::find_if(time_.tasks_.begin(), time_.tasks_.end(),
                        [this](const auto& entry) { return entry.second.queue == this; });
  }

  VirtualTime& time_;
  bool isRunning_ = false;
  bool ends_ = false;
};

inline bool VirtualTime::runOne() {
  if (tasks_.empty() || tasks_.begin()->first.first > now_) return false;
  run(tasks_.begin());
  return true;
}

inline void VirtualTime::run(Entries::iterator entry) {
  const auto taken = tasks_.extract(entry);
  taken.mapped().queue->run(taken.mapped().task);
}

inline std::unique_ptr<Executor> VirtualTime::makeExecutor() {
  return std::make_unique<Queue>(*this);
}

}  // namespace orvane::test
