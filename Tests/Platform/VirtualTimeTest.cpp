#include <gtest/gtest.h>

#include "Tests/Support/ExecutorConformance.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

struct VirtualMachine {
  std::unique_ptr<Executor> makeExecutor() { return time.makeExecutor(); }
  void runAndWait(Executor& executor, Executor::Task task) { executor.runAndWait(std::move(task)); }
  void waitFor(std::future<void>&, Executor::Duration delay) { time.advance(delay); }

  VirtualTime time;
};

INSTANTIATE_TYPED_TEST_SUITE_P(VirtualTime, ExecutorConformance, VirtualMachine);

class VirtualTimeTest : public ::testing::Test {
 protected:
  Executor::Task saying(const std::string& name) {
    return [this, name] { said.push_back(name); };
  }

  VirtualTime time;
  std::unique_ptr<Executor> executor = time.makeExecutor();
  std::unique_ptr<Executor> other = time.makeExecutor();
  Names said;
};

TEST_F(VirtualTimeTest, NothingRunsUnlessTheTestSaysSo) {
  executor->post(saying("posted"));
  EXPECT_EQ(said, Names());
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"posted"});
}

TEST_F(VirtualTimeTest, TheClockStandsStillUntilItIsTurned) {
  const auto start = time.now();
  executor->postAfter(5ms, saying("later"));
  time.runUntilIdle();
  EXPECT_EQ(time.now(), start);
  EXPECT_EQ(said, Names());
  time.advance(4ms);
  EXPECT_EQ(time.now(), start + 4ms);
  EXPECT_EQ(said, Names());
  time.advance(1ms);
  EXPECT_EQ(executor->now(), start + 5ms);
  EXPECT_EQ(said, Names{"later"});
}

TEST_F(VirtualTimeTest, EachTaskRunsAtItsTime) {
  std::vector<Executor::Duration> times;
  const auto note = [&] { times.push_back(time.now().time_since_epoch()); };
  executor->postAfter(3ms, note);
  other->postAfter(1ms, [&, note] {
    note();
    other->postAfter(1ms, note);
  });
  time.advance(10ms);
  EXPECT_EQ(times, (std::vector<Executor::Duration>{1ms, 2ms, 3ms}));
  EXPECT_EQ(time.now().time_since_epoch(), 10ms);
}

TEST_F(VirtualTimeTest, WhatIsDueRunsInTheOrderInWhichItBecameDueWhateverItsQueue) {
  other->postAfter(1ms, saying("b"));
  executor->post(saying("a"));
  executor->postAfter(1ms, saying("c"));
  other->postAfter(2ms, saying("d"));
  time.advance(2ms);
  EXPECT_EQ(said, (Names{"a", "b", "c", "d"}));
}

TEST_F(VirtualTimeTest, RunUntilIdleRunsWhatBecomesDueByThatToo) {
  executor->post([&] { other->post([&] { executor->post(saying("third")); }); });
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"third"});
}

TEST_F(VirtualTimeTest, RunOneRunsOneTaskThatIsDue) {
  executor->post(saying("first"));
  other->post(saying("second"));
  other->postAfter(1ms, saying("later"));
  EXPECT_TRUE(time.runOne());
  EXPECT_EQ(said, Names{"first"});
  EXPECT_TRUE(time.runOne());
  EXPECT_FALSE(time.runOne());
  EXPECT_EQ(said, (Names{"first", "second"}));
}

TEST_F(VirtualTimeTest, RunAndWaitRunsTheTasksOfItsQueueOnly) {
  other->post(saying("of the other"));
  executor->post(saying("own"));
  executor->runAndWait(saying("waited for"));
  EXPECT_EQ(said, (Names{"own", "waited for"}));
}

TEST_F(VirtualTimeTest, RunAndWaitRunsBeforeWhatTheTasksInFrontOfItPost) {
  executor->post([&] { executor->post(saying("last")); });
  executor->runAndWait(saying("waited for"));
  EXPECT_EQ(said, Names{"waited for"});
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"waited for", "last"}));
}

TEST_F(VirtualTimeTest, ATaskMayWaitForAnotherQueueButNotForItsOwn) {
  bool failed = false;
  executor->post([&] {
    other->runAndWait([&] {
      said.push_back("inner");
      try {
        executor->runAndWait(saying("never"));
      } catch (const std::logic_error&) {
        failed = true;
      }
    });
  });
  time.runUntilIdle();
  EXPECT_TRUE(failed);
  EXPECT_EQ(said, Names{"inner"});
  executor->runAndWait(saying("afterwards"));
  EXPECT_EQ(said, (Names{"inner", "afterwards"}));
}

}  // namespace
}  // namespace orvane::test
