#include "Platform/Foundation/TaskQueue.h"

#include <algorithm>

namespace orvane {

void TaskQueue::add(Executor::Time now, Executor::Duration delay, Executor::Task task) {
  // A delay without an end must not wrap round into the past.
  const auto due = now + std::clamp(delay, Executor::Duration::zero(), Executor::Time::max() - now);
  tasks_.emplace(Place{due, count_++}, std::move(task));
}

Executor::Task TaskQueue::takeBefore(const Place& end) {
  if (tasks_.empty() || tasks_.begin()->first >= end) return {};
  return std::move(tasks_.extract(tasks_.begin()).mapped());
}

std::optional<Executor::Time> TaskQueue::nextDue() const {
  if (tasks_.empty()) return std::nullopt;
  return tasks_.begin()->first.first;
}

}  // namespace orvane
