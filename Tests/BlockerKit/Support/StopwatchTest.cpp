
#include <gtest/gtest.h>

#include "BlockerKit/Support/Stopwatch.h"

namespace orvane {
namespace {

TEST(StopwatchTest, RunsBetweenStartAndStop) {
  Stopwatch stopwatch;
  EXPECT_FALSE(stopwatch.isRunning);
  stopwatch.start();
  EXPECT_TRUE(stopwatch.isRunning);
  stopwatch.stop();
  EXPECT_FALSE(stopwatch.isRunning);
}

TEST(StopwatchTest, TakesATimeStampAtStartAndOneAtStop) {
  Stopwatch stopwatch;
  stopwatch.start();
  EXPECT_GT(stopwatch.t1, 0U);
  EXPECT_EQ(stopwatch.t2, 0U);
  const auto started = stopwatch.t1;
  stopwatch.stop();
  EXPECT_EQ(stopwatch.t1, started);
  EXPECT_GE(stopwatch.t2, stopwatch.t1);
}

TEST(StopwatchTest, TheElapsedTimeIsInSeconds) {
  using Units = std::chrono::steady_clock::duration;
  Stopwatch stopwatch;
  stopwatch.t1 = 7;
  stopwatch.t2 = 7 + static_cast<std::uint64_t>(Units(std::chrono::milliseconds(1500)).count());
  EXPECT_DOUBLE_EQ(stopwatch.elapsed(), 1.5);
}

TEST(StopwatchTest, StartsAnew) {
  Stopwatch stopwatch;
  stopwatch.start();
  stopwatch.stop();
  const auto first = stopwatch.t2;
  stopwatch.start();
  EXPECT_GE(stopwatch.t1, first);
  EXPECT_TRUE(stopwatch.isRunning);
}

}  // namespace
}  // namespace orvane
