#include <array>

#include <gtest/gtest.h>
#include <pthread.h>

#include "Platform/Foundation/ThreadExecutor.h"
#include "Tests/Support/ExecutorConformance.h"

namespace orvane::test {
namespace {

struct ThreadMachine {
  std::unique_ptr<Executor> makeExecutor() { return std::make_unique<ThreadExecutor>("test"); }
  void runAndWait(Executor& executor, Executor::Task task) { executor.runAndWait(std::move(task)); }
  void waitFor(std::future<void>& end, Executor::Duration) { end.wait(); }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Threads, ExecutorConformance, ThreadMachine);
INSTANTIATE_TYPED_TEST_SUITE_P(Threads, ConcurrentExecutorConformance, ThreadMachine);

std::string nameOfThread(Executor& executor) {
  std::array<char, 16> name{};
  executor.runAndWait([&] { ::pthread_getname_np(::pthread_self(), name.data(), name.size()); });
  return name.data();
}

TEST(ThreadExecutorTest, TheThreadBearsTheLabelAsFarAsThereIsRoom) {
  ThreadExecutor labelled("write");
  EXPECT_EQ(nameOfThread(labelled), "write");
  ThreadExecutor cut("a label that is too long");
  EXPECT_EQ(nameOfThread(cut), "a label that is");
}

TEST(ThreadExecutorTest, EachHasOneThreadOfItsOwn) {
  ThreadExecutor executor("one");
  ThreadExecutor other("other");
  std::array<std::thread::id, 3> threads;
  executor.runAndWait([&] { threads[0] = std::this_thread::get_id(); });
  executor.runAndWait([&] { threads[1] = std::this_thread::get_id(); });
  other.runAndWait([&] { threads[2] = std::this_thread::get_id(); });
  EXPECT_EQ(threads[0], threads[1]);
  EXPECT_NE(threads[0], threads[2]);
  EXPECT_NE(threads[0], std::this_thread::get_id());
}

TEST(ThreadExecutorTest, ItsEndWaitsForTheTaskThatRunsAndDropsTheOthers) {
  auto executor = std::make_unique<ThreadExecutor>("ending");
  std::promise<void> began;
  bool returned = false;
  bool ranAnother = false;
  executor->post([&, &ending = *executor] {
    began.set_value();
    // Posts until the end has begun: a task that is dropped is destroyed at once.
    std::weak_ptr<int> posted;
    do {
      auto held = std::make_shared<int>();
      posted = held;
      ending.post([&ranAnother, held = std::move(held)] { ranAnother = true; });
    } while (!posted.expired());
    returned = true;
  });
  began.get_future().wait();
  executor.reset();
  EXPECT_TRUE(returned);
  EXPECT_FALSE(ranAnother);
}

TEST(ThreadExecutorTest, AnEndWithoutATaskIsImmediate) {
  for (int round = 0; round < 200; ++round) ThreadExecutor executor("short");
  ThreadExecutor waiting("waiting");
  waiting.postAfter(std::chrono::hours(1), [] { FAIL(); });
  waiting.runAndWait([] {});
}

/// Drops what is posted, as an executor does that ends.
class EndingExecutor final : public Executor {
 public:
  void post(Task) override { ++dropped; }
  void postAfter(Duration, Task) override { ++dropped; }
  Time now() const override { return {}; }

  int dropped = 0;
};

TEST(ExecutorTest, TheWaitForATaskThatIsDroppedEnds) {
  EndingExecutor executor;
  executor.runAndWait([] { FAIL(); });
  EXPECT_EQ(executor.dropped, 1);
}

}  // namespace
}  // namespace orvane::test
