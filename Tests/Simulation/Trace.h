#pragma once

#include <deque>
#include <string>

#include <fmt/format.h>

#include "Platform/Foundation/Executor.h"

namespace orvane::test {

/// The last events of a run, with the virtual time at which they happened.
class Trace {
 public:
  explicit Trace(std::size_t length) : length_(length) {}

  void turn(Executor::Duration duration) { elapsed_ += duration; }

  void note(const std::string& who, const std::string& what) {
    const auto seconds = std::chrono::duration<double>(elapsed_).count();
    events_.push_back(fmt::format("{:12.3f}  {:<14}{}", seconds, who, what));
    if (events_.size() > length_) events_.pop_front();
  }

  std::string text() const {
    std::string text;
    for (const auto& event : events_) text += event + "\n";
    return text;
  }

 private:
  std::size_t length_;
  Executor::Duration elapsed_{};
  std::deque<std::string> events_;
};

}  // namespace orvane::test
