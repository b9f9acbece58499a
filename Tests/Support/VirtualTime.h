#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Platform/Foundation/Executor.h"

namespace orvane::test {

/// A clock that stands still until a test turns it, and the executors that run on it, all in the
/// test's own thread. What is due runs in the order in which it became due, whatever its queue,
/// unless a test chooses. The clock outlives its executors.
class VirtualTime {
 public:
  /// Whether the process is dead that an executor belongs to.
  using Death = std::shared_ptr<const bool>;

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

  /// Turns the clock and runs nothing.
  void jump(Executor::Duration duration) { now_ += duration; }

  /// Runs one task that is due; false when none is.
  bool runOne();

  /// When the next task is due, which may be over; nothing when there is none.
  std::optional<Executor::Time> nextDue() const {
    if (tasks_.empty()) return std::nullopt;
    return tasks_.begin()->first.first;
  }

  /// Once its process is dead, an executor drops what it has and what it gets.
  std::unique_ptr<Executor> makeExecutor(Death death = nullptr);

  Executor::Time now() const { return now_; }

  /// Of so many queues that have a task that is due, the one whose turn it is, as threads would
  /// overtake each other; may be empty.
  std::function<std::size_t(std::size_t)> choose;

 private:
  class Queue;
  struct Entry {
    Queue* queue;
    Executor::Task task;
  };
  using Place = std::pair<Executor::Time, std::uint64_t>;
  using Entries = std::map<Place, Entry>;

  void run(Entries::iterator entry);
  Entries::iterator chosen();

  Executor::Time now_{};
  std::uint64_t count_ = 0;
  Entries tasks_;
};

class VirtualTime::Queue final : public Executor {
 public:
  Queue(VirtualTime& time, Death death) : time_(time), death_(std::move(death)) {}
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
    if (ends_ || isDead()) return;
    const auto due = time_.now_ + std::clamp(delay, Duration::zero(), Time::max() - time_.now_);
    time_.tasks_.emplace(Place{due, time_.count_++}, Entry{this, std::move(task)});
  }
  void runAndWait(Task task) override {
    // Where threads do this, the wait has no end.
    if (isRunning_) throw std::logic_error("A task waits for the queue that it runs on");
    if (isDead()) return;
    bool ran = false;
    post([&] {
      task();
      ran = true;
    });
    while (!ran && !isDead()) time_.run(first());
  }
  Time now() const override { return time_.now_; }

  void run(const Task& task) {
    if (isDead()) return;
    isRunning_ = true;
    task();
    isRunning_ = false;
  }

 private:
  bool isDead() const { return death_ && *death_; }

  Entries::iterator first() {
    return std::find_if(time_.tasks_.begin(), time_.tasks_.end(),
                        [this](const auto& entry) { return entry.second.queue == this; });
  }

  VirtualTime& time_;
  Death death_;
  bool isRunning_ = false;
  bool ends_ = false;
};

inline bool VirtualTime::runOne() {
  if (tasks_.empty() || tasks_.begin()->first.first > now_) return false;
  run(choose ? chosen() : tasks_.begin());
  return true;
}

inline VirtualTime::Entries::iterator VirtualTime::chosen() {
  std::vector<Entries::iterator> firsts;
  for (auto at = tasks_.begin(); at != tasks_.end() && at->first.first <= now_; ++at) {
    const auto isOfSameQueue = [&](auto first) { return first->second.queue == at->second.queue; };
    if (std::none_of(firsts.begin(), firsts.end(), isOfSameQueue)) firsts.push_back(at);
  }
  return firsts[choose(firsts.size())];
}

inline void VirtualTime::run(Entries::iterator entry) {
  const auto taken = tasks_.extract(entry);
  taken.mapped().queue->run(taken.mapped().task);
}

inline std::unique_ptr<Executor> VirtualTime::makeExecutor(Death death) {
  return std::make_unique<Queue>(*this, std::move(death));
}

}  // namespace orvane::test
