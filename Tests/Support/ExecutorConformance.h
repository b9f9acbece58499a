#pragma once

#include <algorithm>
#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Platform/Foundation/Executor.h"

namespace orvane::test {

/// What every executor keeps to. `Machine` is where executors run:
///   std::unique_ptr<Executor> makeExecutor();
///   void runAndWait(Executor& executor, Executor::Task task);  // from where that is allowed
///   void waitFor(std::future<void>& end, Executor::Duration delay);  // lets that time pass
template <typename Machine>
class ExecutorConformance : public ::testing::Test {
 protected:
  using Names = std::vector<std::string>;

  /// A task that says its name.
  Executor::Task saying(const std::string& name) {
    return [this, name] { said.push_back(name); };
  }

  /// Returns once all that is due has run.
  void settle() {
    machine.runAndWait(*executor, [] {});
  }

  /// Returns once a task with this delay has run.
  void pass(Executor::Duration delay) {
    const auto passed = std::make_shared<std::promise<void>>();
    auto end = passed->get_future();
    executor->postAfter(delay, [passed] { passed->set_value(); });
    machine.waitFor(end, delay);
  }

  Machine machine;
  std::unique_ptr<Executor> executor = machine.makeExecutor();
  Names said;  // by the executor's tasks, read when they have run
};

TYPED_TEST_SUITE_P(ExecutorConformance);

TYPED_TEST_P(ExecutorConformance, TasksRunInTheOrderInWhichTheyWerePosted) {
  std::vector<int> ran;
  std::vector<int> posted;
  for (int number = 0; number < 1000; ++number) {
    posted.push_back(number);
    this->executor->post([&ran, number] { ran.push_back(number); });
  }
  this->settle();
  EXPECT_EQ(ran, posted);
}

TYPED_TEST_P(ExecutorConformance, ATaskNeverRunsInsideTheCallThatPostsIt) {
  this->executor->post([this] {
    this->executor->post(this->saying("inner"));
    this->executor->postAfter(Executor::Duration::zero(), this->saying("inner without delay"));
    this->said.push_back("outer");
  });
  this->settle();
  this->settle();
  EXPECT_EQ(this->said, (std::vector<std::string>{"outer", "inner", "inner without delay"}));
}

TYPED_TEST_P(ExecutorConformance, RunAndWaitRunsBehindWhatIsDueAndReturnsWhenItHasRun) {
  this->executor->post(this->saying("first"));
  this->executor->post(this->saying("second"));
  this->machine.runAndWait(*this->executor, this->saying("waited for"));
  EXPECT_EQ(this->said, (std::vector<std::string>{"first", "second", "waited for"}));
}

TYPED_TEST_P(ExecutorConformance, RunAndWaitDoesNotWaitForADelayedTask) {
  this->executor->postAfter(std::chrono::hours(1), this->saying("delayed"));
  this->machine.runAndWait(*this->executor, this->saying("waited for"));
  EXPECT_EQ(this->said, std::vector<std::string>{"waited for"});
}

TYPED_TEST_P(ExecutorConformance, EqualDelaysEndInTheOrderInWhichTheyWerePosted) {
  constexpr auto delay = std::chrono::milliseconds(2);
  for (const auto* name : {"a", "b", "c", "d"}) {
    this->executor->postAfter(delay, this->saying(name));
  }
  this->pass(delay);
  EXPECT_EQ(this->said, (std::vector<std::string>{"a", "b", "c", "d"}));
}

TYPED_TEST_P(ExecutorConformance, TheShorterDelayEndsFirst) {
  using std::chrono::milliseconds;
  this->executor->postAfter(milliseconds(100), this->saying("later"));
  this->executor->postAfter(milliseconds(1), this->saying("sooner"));
  this->executor->post(this->saying("at once"));
  this->pass(milliseconds(100));
  EXPECT_EQ(this->said, (std::vector<std::string>{"at once", "sooner", "later"}));
}

TYPED_TEST_P(ExecutorConformance, ADelayPassesBeforeTheTaskRuns) {
  constexpr auto delay = std::chrono::microseconds(1500);
  Executor::Time ranAt;
  const auto postedAt = this->executor->now();
  this->executor->postAfter(delay, [&] { ranAt = this->executor->now(); });
  this->pass(delay);
  EXPECT_GE(ranAt, postedAt + delay);
}

TYPED_TEST_P(ExecutorConformance, ANegativeDelayCountsAsNone) {
  this->executor->post(this->saying("first"));
  this->executor->postAfter(std::chrono::hours(-1), this->saying("second"));
  this->settle();
  EXPECT_EQ(this->said, (std::vector<std::string>{"first", "second"}));
}

TYPED_TEST_P(ExecutorConformance, ADelayWithoutAnEndNeverPasses) {
  this->executor->postAfter(Executor::Duration::max(), this->saying("never"));
  this->executor->post(this->saying("at once"));
  this->settle();
  EXPECT_EQ(this->said, std::vector<std::string>{"at once"});
}

TYPED_TEST_P(ExecutorConformance, ATaskIsDestroyedBeforeTheNextOneRuns) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  bool wasHeld = false;
  bool isHeldLater = true;
  this->executor->post([&wasHeld, held = std::move(held)] { wasHeld = held != nullptr; });
  this->executor->post([&] { isHeldLater = !watched.expired(); });
  this->settle();
  EXPECT_TRUE(wasHeld);
  EXPECT_FALSE(isHeldLater);
}

TYPED_TEST_P(ExecutorConformance, WhatATaskHoldsMayPostWhenItIsDestroyed) {
  std::shared_ptr<int> held(new int(), [this](const int* value) {
    delete value;
    this->executor->post(this->saying("posted by a destructor"));
  });
  this->executor->post([held = std::move(held)] {});
  this->settle();
  this->settle();
  EXPECT_EQ(this->said, std::vector<std::string>{"posted by a destructor"});
}

TYPED_TEST_P(ExecutorConformance, ATaskThatHasNotBegunIsDestroyedWithTheExecutorAndNeverRuns) {
  const auto held = std::make_shared<int>();
  this->executor->postAfter(std::chrono::hours(1), [this, held] { this->said.push_back("ran"); });
  EXPECT_EQ(held.use_count(), 2);
  this->executor.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(this->said, std::vector<std::string>());
}

TYPED_TEST_P(ExecutorConformance, WhatADroppedTaskHoldsMayPostWhenItIsDestroyed) {
  auto& ending = *this->executor;
  std::shared_ptr<int> held(new int(), [this, &ending](const int* value) {
    delete value;
    this->said.push_back("destroyed");
    ending.post(this->saying("never"));
  });
  ending.postAfter(std::chrono::hours(1), [held = std::move(held)] {});
  this->executor.reset();
  EXPECT_EQ(this->said, std::vector<std::string>{"destroyed"});
}

TYPED_TEST_P(ExecutorConformance, TheEndOfAnExecutorLeavesOthersAlone) {
  const auto other = this->machine.makeExecutor();
  other->post(this->saying("other"));
  this->executor.reset();
  this->machine.runAndWait(*other, [] {});
  EXPECT_EQ(this->said, std::vector<std::string>{"other"});
}

TYPED_TEST_P(ExecutorConformance, ExecutorsOfAMachineShareTheirClock) {
  const auto other = this->machine.makeExecutor();
  const auto first = this->executor->now();
  const auto second = other->now();
  EXPECT_LE(first, second);
  EXPECT_LE(second, this->executor->now());
  this->pass(std::chrono::milliseconds(2));
  EXPECT_GE(other->now(), second + std::chrono::milliseconds(2));
}

REGISTER_TYPED_TEST_SUITE_P(ExecutorConformance, TasksRunInTheOrderInWhichTheyWerePosted,
                            ATaskNeverRunsInsideTheCallThatPostsIt,
                            RunAndWaitRunsBehindWhatIsDueAndReturnsWhenItHasRun,
                            RunAndWaitDoesNotWaitForADelayedTask,
                            EqualDelaysEndInTheOrderInWhichTheyWerePosted, TheShorterDelayEndsFirst,
                            ADelayPassesBeforeTheTaskRuns, ANegativeDelayCountsAsNone,
                            ADelayWithoutAnEndNeverPasses, ATaskIsDestroyedBeforeTheNextOneRuns,
                            WhatATaskHoldsMayPostWhenItIsDestroyed,
                            ATaskThatHasNotBegunIsDestroyedWithTheExecutorAndNeverRuns,
                            WhatADroppedTaskHoldsMayPostWhenItIsDestroyed,
                            TheEndOfAnExecutorLeavesOthersAlone,
                            ExecutorsOfAMachineShareTheirClock);

/// What executors of real threads keep to besides.
template <typename Machine>
class ConcurrentExecutorConformance : public ExecutorConformance<Machine> {};

TYPED_TEST_SUITE_P(ConcurrentExecutorConformance);

TYPED_TEST_P(ConcurrentExecutorConformance, SeveralThreadsMayPostAndTheTasksOfEachKeepTheirOrder) {
  constexpr int threadCount = 4;
  constexpr int taskCount = 500;
  std::vector<std::vector<int>> ran(threadCount);
  int running = 0;  // not atomic, since tasks run one at a time
  bool overlapped = false;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      for (int task = 0; task < taskCount; ++task) {
        this->executor->post([&, thread, task] {
          overlapped |= ++running != 1;
          ran[static_cast<std::size_t>(thread)].push_back(task);
          --running;
        });
      }
    });
  }
  for (auto& thread : threads) thread.join();
  this->settle();
  EXPECT_FALSE(overlapped);
  for (const auto& ofThread : ran) {
    EXPECT_EQ(ofThread.size(), static_cast<std::size_t>(taskCount));
    EXPECT_TRUE(std::is_sorted(ofThread.begin(), ofThread.end()));
  }
}

TYPED_TEST_P(ConcurrentExecutorConformance, AnotherThreadMayWaitWhileTasksRun) {
  std::promise<void> released;
  std::atomic<bool> ran = false;
  this->executor->post([&] {
    released.get_future().wait();
    ran = true;
  });
  std::thread releasing([&] { released.set_value(); });
  bool hadRun = false;
  this->machine.runAndWait(*this->executor, [&] { hadRun = ran; });
  releasing.join();
  EXPECT_TRUE(hadRun);
}

TYPED_TEST_P(ConcurrentExecutorConformance, AnEarlierTaskShortensTheWaitForALaterOne) {
  this->executor->postAfter(std::chrono::hours(1), this->saying("later"));
  this->settle();  // by now the executor waits for that hour
  this->pass(std::chrono::milliseconds(1));
  EXPECT_EQ(this->said, std::vector<std::string>());
}

REGISTER_TYPED_TEST_SUITE_P(ConcurrentExecutorConformance,
                            SeveralThreadsMayPostAndTheTasksOfEachKeepTheirOrder,
                            AnotherThreadMayWaitWhileTasksRun,
                            AnEarlierTaskShortensTheWaitForALaterOne);

}  // namespace orvane::test
