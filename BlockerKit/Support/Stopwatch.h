#pragma once

#include <chrono>
#include <cstdint>

namespace orvane {

/// Measures one span of time. Not shared between threads.
class Stopwatch {
 public:
  void start() {
    t1 = now();
    isRunning = true;
  }
  void stop() {
    t2 = now();
    isRunning = false;
  }

  /// The seconds from the last start to the last stop.
  double elapsed() const {
    return std::chrono::duration<double>(Clock::duration(static_cast<Clock::rep>(t2 - t1))).count();
  }

  /// The time stamps of start and stop, in units of the monotonic clock.
  std::uint64_t t1 = 0;
  std::uint64_t t2 = 0;
  bool isRunning = false;

 private:
  using Clock = std::chrono::steady_clock;
  static std::uint64_t now() {
    return static_cast<std::uint64_t>(Clock::now().time_since_epoch().count());
  }
};

}  // namespace orvane
