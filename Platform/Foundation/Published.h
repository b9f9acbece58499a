#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orvane {

/// An immutable value that one queue replaces and others read. Any thread.
template <typename Value>
class Published {
 public:
  explicit Published(Value value) : value_(std::make_shared<const Value>(std::move(value))) {}

  std::shared_ptr<const Value> get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }

  void set(Value value) {
    auto next = std::make_shared<const Value>(std::move(value));
    const std::lock_guard lock(mutex_);
    value_.swap(next);  // `next` outlives the lock, so the old value is destroyed outside of it
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Value> value_;
};

}  // namespace orvane
