#include <gtest/gtest.h>

#include "Linux/GLib/MainLoopExecutor.h"
#include "Tests/Support/ExecutorConformance.h"

namespace orvane::test {
namespace {

using Names = std::vector<std::string>;

/// A main context that the test's own thread runs while it waits.
class MainLoopMachine {
 public:
  std::unique_ptr<Executor> makeExecutor() {
    return std::make_unique<MainLoopExecutor>(context.get());
  }

  void runAndWait(Executor& executor, Executor::Task task) {
    auto end = std::async(std::launch::async, [&] { executor.runAndWait(std::move(task)); });
    waitFor(end, {});
  }

  void waitFor(std::future<void>& end, Executor::Duration) {
    std::atomic<bool> ended = false;
    std::thread watching([&] {
      end.wait();
      ended = true;
      g_main_context_wakeup(context.get());
    });
    while (!ended) g_main_context_iteration(context.get(), TRUE);
    watching.join();
  }

  std::unique_ptr<GMainContext, decltype(&g_main_context_unref)> context{g_main_context_new(),
                                                                         g_main_context_unref};
};

INSTANTIATE_TYPED_TEST_SUITE_P(MainLoop, ExecutorConformance, MainLoopMachine);
INSTANTIATE_TYPED_TEST_SUITE_P(MainLoop, ConcurrentExecutorConformance, MainLoopMachine);

class MainLoopExecutorTest : public ::testing::Test {
 protected:
  /// Whether the context has something to do without waiting.
  bool iterate() { return g_main_context_iteration(context(), FALSE) != FALSE; }
  GMainContext* context() { return machine_.context.get(); }
  Executor::Task saying(const std::string& name) {
    return [this, name] { said.push_back(name); };
  }

  Names said;

 private:
  MainLoopMachine machine_;
};

TEST_F(MainLoopExecutorTest, TasksRunOnTheThreadThatRunsTheContext) {
  MainLoopExecutor executor(context());
  std::thread::id ranOn;
  std::thread([&] { executor.post([&] { ranOn = std::this_thread::get_id(); }); }).join();
  while (ranOn == std::thread::id()) g_main_context_iteration(context(), TRUE);
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(MainLoopExecutorTest, WithoutAContextItRunsOnTheDefaultOne) {
  MainLoopExecutor executor;
  bool ran = false;
  executor.post([&] { ran = true; });
  while (!ran) ASSERT_TRUE(g_main_context_iteration(nullptr, FALSE));
  EXPECT_TRUE(ran);
}

TEST_F(MainLoopExecutorTest, ARunRunsWhatWasDueWhenItBeganAndLeavesTheRestToTheNext) {
  MainLoopExecutor executor(context());
  executor.post([&] {
    said.push_back("first");
    executor.post(saying("posted by the first"));
  });
  executor.post(saying("second"));
  EXPECT_TRUE(iterate());
  EXPECT_EQ(said, (Names{"first", "second"}));
  EXPECT_TRUE(iterate());
  EXPECT_EQ(said, (Names{"first", "second", "posted by the first"}));
}

TEST_F(MainLoopExecutorTest, ATaskThatPostsItselfLeavesOtherSourcesTheirTurn) {
  MainLoopExecutor executor(context());
  int rounds = 0;
  std::function<void()> again = [&] {
    ++rounds;
    executor.post(again);
  };
  executor.post(again);
  int turns = 0;
  GSource* source = g_timeout_source_new(0);
  const auto count = [](gpointer data) -> gboolean {
    ++*static_cast<int*>(data);
    return G_SOURCE_CONTINUE;
  };
  g_source_set_callback(source, count, &turns, nullptr);
  g_source_attach(source, context());
  for (int iteration = 0; iteration < 100; ++iteration) iterate();
  EXPECT_GT(turns, 50);
  EXPECT_GT(rounds, 50);
  g_source_destroy(source);
  g_source_unref(source);
}

TEST_F(MainLoopExecutorTest, WithoutATaskTheContextIsNotWoken) {
  MainLoopExecutor executor(context());
  EXPECT_FALSE(iterate());
  executor.post(saying("posted"));
  EXPECT_TRUE(iterate());
  EXPECT_FALSE(iterate());
  executor.postAfter(std::chrono::hours(1), saying("delayed"));
  EXPECT_FALSE(iterate());
  EXPECT_EQ(said, Names{"posted"});
}

TEST_F(MainLoopExecutorTest, ItsEndDropsWhatIsDueToo) {
  const auto held = std::make_shared<int>();
  auto executor = std::make_unique<MainLoopExecutor>(context());
  executor->post([this, held] { said.push_back("never"); });
  executor.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(iterate());
  EXPECT_EQ(said, Names());
}

TEST_F(MainLoopExecutorTest, ATaskIsNotRunInANestedLoopOfAnother) {
  MainLoopExecutor executor(context());
  executor.post([&] {
    executor.post(saying("second"));
    for (int iteration = 0; iteration < 10; ++iteration) iterate();
    said.push_back("first");
  });
  while (said.size() < 2) iterate();
  EXPECT_EQ(said, (Names{"first", "second"}));
}

}  // namespace
}  // namespace orvane::test
