#include "Platform/Foundation/ThreadExecutor.h"

#ifdef __linux__
#include <pthread.h>
#endif

namespace orvane {
namespace {

void nameThisThread([[maybe_unused]] const std::string& label) {
#ifdef __linux__
  constexpr std::size_t room = 15;
  static_cast<void>(::pthread_setname_np(::pthread_self(), label.substr(0, room).c_str()));
#endif
}

}  // namespace

ThreadExecutor::ThreadExecutor(const std::string& label)
    : thread_([this, label] {
        nameThisThread(label);
        runTasks();
      }) {}

ThreadExecutor::~ThreadExecutor() {
  TaskQueue::Tasks dropped;
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
    dropped = tasks_.takeAll();
    changed_.notify_one();
  }
  thread_.join();
}

void ThreadExecutor::postAfter(Duration delay, Task task) {
  const std::lock_guard lock(mutex_);
  if (ends_) return;
  tasks_.add(now(), delay, std::move(task));
  // Inside the lock: once it is free, the task may have run and this executor have been destroyed.
  changed_.notify_one();
}

void ThreadExecutor::runTasks() {
  while (auto task = nextTask()) task();
}

Executor::Task ThreadExecutor::nextTask() {
  std::unique_lock lock(mutex_);
  while (!ends_) {
    if (auto task = tasks_.takeBefore(tasks_.endOfDue(now()))) return task;
    if (const auto due = tasks_.nextDue()) {
      changed_.wait_until(lock, *due);
    } else {
      changed_.wait(lock);
    }
  }
  return {};
}

}  // namespace orvane
