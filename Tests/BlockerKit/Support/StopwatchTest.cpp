#include <thread>

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
  const auto before = std::chrono::steady_clock::now();
  Stopwatch stopwatch;
  stopwatch.start();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  stopwatch.stop();
  const std::chrono::duration<double> around = std::chrono::steady_clock::now() - before;
  EXPECT_GE(stopwatch.elapsed(), 0.03);
  EXPECT_LE(stopwatch.elapsed(), around.count());
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
