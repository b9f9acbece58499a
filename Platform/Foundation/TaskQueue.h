#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "Platform/Foundation/Executor.h"

namespace orvane {

/// The tasks of an executor in the order in which it runs them. Whoever shares one among threads
/// locks it, and destroys no task meanwhile: what its closure holds may call anything.
class TaskQueue {
 public:
  /// A task's place: when it is due, and its number.
  using Place = std::pair<Executor::Time, std::uint64_t>;
  using Tasks = std::map<Place, Executor::Task>;

  void add(Executor::Time now, Executor::Duration delay, Executor::Task task);

  /// Behind all that is due at `now`, before all that is added from now on.
  Place endOfDue(Executor::Time now) const { return {now, count_}; }

  /// Takes the first task before `end`; empty when there is none.
  Executor::Task takeBefore(const Place& end);

  std::optional<Executor::Time> nextDue() const;

  Tasks takeAll() { return std::exchange(tasks_, {}); }

 private:
  Tasks tasks_;
  std::uint64_t count_ = 0;
};

}  // namespace orvane
