#include <algorithm>
#include <atomic>
#include <future>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/ThreadExecutor.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {
namespace {

using Names = std::vector<std::string>;

class Work final : public NSOperation {
 public:
  explicit Work(std::function<void()> work) : work_(std::move(work)) {}

 protected:
  void main() override { work_(); }

 private:
  std::function<void()> work_;
};

std::shared_ptr<NSOperation> operation(std::function<void()> work) {
  return std::make_shared<Work>(std::move(work));
}

/// Queues on a virtual clock.
class NSOperationQueueTest : public ::testing::Test {
 protected:
  std::function<void()> says(const std::string& name) {
    return [this, name] { said.push_back(name); };
  }
  std::shared_ptr<NSOperation> saying(const std::string& name) { return operation(says(name)); }

  std::shared_ptr<NSOperation> sayingAfter(const std::shared_ptr<NSOperation>& first,
                                           const std::string& name) {
    auto added = saying(name);
    added->addDependency(first);
    return added;
  }

  std::unique_ptr<NSOperationQueue> makeQueue(const std::string& name, std::size_t width) {
    return std::make_unique<NSOperationQueue>(
        makeSerialQueue,
        NSOperationQueue::Properties{.name = name, .maxConcurrentOperationCount = width});
  }

  VirtualTime time;
  Names labels;  ///< of the serial queues that were made
  SerialQueueFactory makeSerialQueue = [this](const std::string& label) {
    labels.push_back(label);
    return time.makeExecutor();
  };
  Names said;
  std::unique_ptr<NSOperationQueue> queue = makeQueue("queue", 1);
  std::unique_ptr<NSOperationQueue> other = makeQueue("other", 1);
};

TEST_F(NSOperationQueueTest, HasTheGivenProperties) {
  const NSOperationQueue named(makeSerialQueue,
                               {.name = "named",
                                .maxConcurrentOperationCount = 3,
                                .qualityOfService = NSQualityOfService::userInitiated});
  EXPECT_EQ(named.properties().name, "named");
  EXPECT_EQ(named.properties().maxConcurrentOperationCount, 3U);
  EXPECT_EQ(named.properties().qualityOfService, NSQualityOfService::userInitiated);
  EXPECT_EQ(queue->properties().qualityOfService, NSQualityOfService::utility);
  EXPECT_EQ(NSOperationQueue::Properties().maxConcurrentOperationCount, 1U);
}

TEST_F(NSOperationQueueTest, AnOperationRunsOnceAndIsFinishedThen) {
  NSOperation* running = nullptr;
  bool wasFinishedWhileRunning = true;
  const auto added = operation([&] {
    said.push_back("main");
    wasFinishedWhileRunning = running->isFinished();
  });
  running = added.get();
  queue->addOperation(added);
  EXPECT_FALSE(added->isFinished());
  time.runUntilIdle();
  EXPECT_TRUE(added->isFinished());
  EXPECT_FALSE(added->isCancelled());
  EXPECT_FALSE(wasFinishedWhileRunning);
  EXPECT_EQ(said, Names{"main"});
}

TEST_F(NSOperationQueueTest, NothingRunsInsideACall) {
  const auto first = saying("first");
  first->setCompletionBlock(says("completed"));
  queue->addOperation(first);
  EXPECT_EQ(said, Names());
  first->cancel();
  EXPECT_EQ(said, Names());
  queue->addOperation(saying("second"));
  queue->cancelAllOperations();
  EXPECT_EQ(said, Names());
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"completed"});
}

TEST_F(NSOperationQueueTest, OperationsThatAreReadyRunInTheOrderInWhichTheyWereAdded) {
  for (const auto* name : {"a", "b", "c", "d"}) queue->addOperation(saying(name));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"a", "b", "c", "d"}));
}

TEST_F(NSOperationQueueTest, OperationsRunInTheOrderInWhichTheyBecomeReady) {
  const auto first = saying("first");
  const auto blocked = sayingAfter(first, "blocked");
  queue->addOperation(blocked);
  queue->addOperation(saying("ready"));
  queue->addOperation(first);
  queue->addOperation(saying("ready before the first has run"));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"ready", "first", "ready before the first has run", "blocked"}));
}

TEST_F(NSOperationQueueTest, AnOperationMayAddOthers) {
  queue->addOperation(operation([&] {
    queue->addOperation(saying("inner"));
    said.push_back("outer");
  }));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"outer", "inner"}));
}

TEST_F(NSOperationQueueTest, AnOperationBeginsAfterWhatItDependsOnOnAnyQueue) {
  const auto first = saying("first");
  const auto second = sayingAfter(first, "second");
  const auto third = sayingAfter(second, "third");
  queue->addOperation(third);
  other->addOperation(second);
  time.runUntilIdle();
  EXPECT_EQ(said, Names());
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"first", "second", "third"}));
}

TEST_F(NSOperationQueueTest, AnOperationWaitsForAllThatItDependsOn) {
  const auto first = saying("first");
  const auto second = saying("second");
  const auto last = sayingAfter(first, "last");
  last->addDependency(second);
  last->addDependency(second);  // twice, to no effect
  queue->addOperation(last);
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"first"});
  other->addOperation(second);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"first", "second", "last"}));
}

TEST_F(NSOperationQueueTest, WhatIsFinishedIsNotWaitedFor) {
  const auto first = saying("first");
  queue->addOperation(first);
  time.runUntilIdle();
  queue->addOperation(sayingAfter(first, "second"));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"first", "second"}));
}

TEST_F(NSOperationQueueTest, WhatRunsOrCompletesIsWaitedFor) {
  NSOperation* running = nullptr;
  const auto addNext = [&](const std::string& name) {
    other->addOperation(sayingAfter(running->shared_from_this(), name));
    while (time.runOne()) {
    }
  };
  const auto first = operation([&] {
    addNext("depends on what runs");
    said.push_back("main");
  });
  first->setCompletionBlock([&] {
    addNext("depends on what completes");
    said.push_back("completed");
  });
  running = first.get();
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(said,
            (Names{"main", "completed", "depends on what runs", "depends on what completes"}));
}

TEST_F(NSOperationQueueTest, OnlyAnOperationWithAnOwnerCanDepend) {
  Work unowned([] {});
  EXPECT_THROW(unowned.addDependency(saying("other")), std::bad_weak_ptr);
}

TEST_F(NSOperationQueueTest, ADependentThatIsGoneIsNotMissed) {
  const auto first = saying("first");
  static_cast<void>(sayingAfter(first, "gone"));
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"first"});
}

TEST_F(NSOperationQueueTest, ACancelledOperationThatHasNotBegunNeverRunsAndIsFinishedAtItsTurn) {
  const auto first = saying("first");
  const auto cancelled = saying("cancelled");
  cancelled->setCompletionBlock(says("completed"));
  queue->addOperation(first);
  queue->addOperation(cancelled);
  cancelled->cancel();
  cancelled->cancel();
  EXPECT_TRUE(cancelled->isCancelled());
  EXPECT_FALSE(cancelled->isFinished());
  time.runUntilIdle();
  EXPECT_TRUE(cancelled->isFinished());
  EXPECT_EQ(said, (Names{"first", "completed"}));
}

TEST_F(NSOperationQueueTest, AnOperationMayBeCancelledBeforeItIsAdded) {
  const auto never = saying("never");
  const auto cancelled = sayingAfter(never, "cancelled");
  cancelled->setCompletionBlock(says("completed"));
  cancelled->cancel();
  EXPECT_FALSE(cancelled->isFinished());
  queue->addOperation(cancelled);
  time.runUntilIdle();
  EXPECT_TRUE(cancelled->isFinished());
  EXPECT_EQ(said, Names{"completed"});
}

TEST_F(NSOperationQueueTest, ACancelledOperationDoesNotWaitForWhatItDependsOn) {
  const auto first = saying("first");
  const auto cancelled = sayingAfter(first, "cancelled");
  queue->addOperation(cancelled);
  queue->addOperation(sayingAfter(cancelled, "last"));
  time.runUntilIdle();
  EXPECT_EQ(said, Names());
  cancelled->cancel();
  time.runUntilIdle();
  EXPECT_TRUE(cancelled->isFinished());
  EXPECT_EQ(said, Names{"last"});
  // What it depended on may still finish.
  queue->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"last", "first"}));
}

TEST_F(NSOperationQueueTest, AnOperationThatRunsSeesItsCancellation) {
  NSOperation* running = nullptr;
  Names seen;
  const auto added = operation([&] {
    seen.emplace_back(running->isCancelled() ? "cancelled" : "not yet");
    running->cancel();
    seen.emplace_back(running->isCancelled() ? "cancelled" : "not yet");
  });
  running = added.get();
  added->setCompletionBlock(says("completed"));
  queue->addOperation(added);
  time.runUntilIdle();
  EXPECT_EQ(seen, (Names{"not yet", "cancelled"}));
  EXPECT_EQ(said, Names{"completed"});
}

TEST_F(NSOperationQueueTest, CancellingWhatIsFinishedHasNoEffect) {
  const auto added = saying("main");
  queue->addOperation(added);
  time.runUntilIdle();
  added->cancel();
  time.runUntilIdle();
  EXPECT_FALSE(added->isCancelled());
  EXPECT_EQ(said, Names{"main"});
}

TEST_F(NSOperationQueueTest, CancellingAllCancelsWhatRunsAndWhatWaitsInTheOrderOfAdding) {
  NSOperation* running = nullptr;
  const auto never = saying("never");
  const auto first = operation([&] {
    queue->cancelAllOperations();
    said.emplace_back(running->isCancelled() ? "cancelled" : "not cancelled");
  });
  running = first.get();
  queue->addOperation(first);
  for (const auto* name : {"a", "b", "c"}) {
    const auto waiting = sayingAfter(never, std::string("main of ") + name);
    waiting->setCompletionBlock(says(name));
    queue->addOperation(waiting);
  }
  const auto elsewhere = saying("elsewhere");
  other->addOperation(elsewhere);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"cancelled", "elsewhere", "a", "b", "c"}));
  EXPECT_EQ(queue->operationCount(), 0U);
  // The queue goes on with what is added later.
  queue->addOperation(saying("later"));
  time.runUntilIdle();
  EXPECT_EQ(said.back(), "later");
}

TEST_F(NSOperationQueueTest, TheCompletionBlockIsCalledOnceWhenTheOperationIsFinished) {
  const auto added = saying("main");
  bool wasFinished = false;
  std::size_t counted = 1;
  const auto held = std::make_shared<int>();
  added->setCompletionBlock([&, held, finished = added.get()] {
    said.push_back("completed");
    wasFinished = finished->isFinished();
    counted = queue->operationCount();
  });
  EXPECT_EQ(held.use_count(), 2);
  queue->addOperation(added);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"main", "completed"}));
  EXPECT_TRUE(wasFinished);
  EXPECT_EQ(counted, 0U);
  EXPECT_EQ(held.use_count(), 1) << "it is destroyed after its call";
}

TEST_F(NSOperationQueueTest, TheLastCompletionBlockThatWasSetCounts) {
  const auto added = saying("main");
  added->setCompletionBlock(says("replaced"));
  added->setCompletionBlock(says("completed"));
  queue->addOperation(added);
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"main", "completed"}));
}

TEST_F(NSOperationQueueTest, CountsTheOperationsThatWereAddedAndAreNotFinished) {
  const auto first = saying("first");
  const auto second = sayingAfter(first, "second");
  EXPECT_EQ(queue->operationCount(), 0U);
  queue->addOperation(second);
  EXPECT_EQ(queue->operationCount(), 1U);
  std::size_t whileRunning = 0;
  queue->addOperation(operation([&] { whileRunning = queue->operationCount(); }));
  EXPECT_EQ(queue->operationCount(), 2U);
  time.runUntilIdle();
  EXPECT_EQ(whileRunning, 2U);
  EXPECT_EQ(queue->operationCount(), 1U);
  other->addOperation(first);
  time.runUntilIdle();
  EXPECT_EQ(queue->operationCount(), 0U);
}

TEST_F(NSOperationQueueTest, SerialQueuesAreMadeWhenOperationsNeedThemAndBearTheName) {
  const auto wide = makeQueue("wide", 2);
  EXPECT_EQ(labels, Names());
  wide->addOperation(saying("a"));
  EXPECT_EQ(labels, Names{"wide"});
  time.runUntilIdle();
  wide->addOperation(saying("b"));
  EXPECT_EQ(labels, Names{"wide"});
  wide->addOperation(saying("c"));
  wide->addOperation(saying("d"));
  EXPECT_EQ(labels, (Names{"wide", "wide"}));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"a", "b", "c", "d"}));
}

TEST_F(NSOperationQueueTest, AnotherQueueHasItsTurnBetweenTwoOperations) {
  queue->addOperation(saying("a"));
  queue->addOperation(saying("b"));
  other->addOperation(saying("of the other"));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"a", "of the other", "b"}));
}

TEST_F(NSOperationQueueTest, AFinishedOperationIsLetGoByItsQueueAndByWhatDependedOnIt) {
  auto first = saying("first");
  auto second = sayingAfter(first, "second");
  const auto kept = sayingAfter(second, "kept");
  const std::weak_ptr<NSOperation> watchedFirst = first;
  const std::weak_ptr<NSOperation> watchedSecond = second;
  queue->addOperation(kept);
  queue->addOperation(std::move(second));
  queue->addOperation(std::move(first));
  EXPECT_FALSE(watchedFirst.expired());
  time.runUntilIdle();
  EXPECT_TRUE(kept->isFinished());
  EXPECT_TRUE(watchedFirst.expired());
  EXPECT_TRUE(watchedSecond.expired());
}

TEST_F(NSOperationQueueTest, WhatAnOperationHoldsMayCallTheQueueWhenItIsDestroyed) {
  const auto callingQueue = [this](const std::string& name) {
    return std::shared_ptr<int>(new int(), [this, name](const int* value) {
      delete value;
      said.push_back(name + std::to_string(queue->operationCount()));
    });
  };
  auto first = operation([held = callingQueue("operation ")] {});
  first->setCompletionBlock([held = callingQueue("block ")] {});
  // This one has the last reference to the first.
  auto second = sayingAfter(first, "second");
  queue->addOperation(std::move(second));
  queue->addOperation(std::move(first));
  time.runUntilIdle();
  EXPECT_EQ(said, (Names{"block 1", "second", "operation 0"}));
}

TEST_F(NSOperationQueueTest, ALongChainOfOperationsEndsWithoutDeepRecursion) {
  constexpr int length = 50000;
  int ran = 0;
  const auto addChain = [&] {
    auto previous = operation([&] { ++ran; });
    const auto first = previous;
    for (int number = 1; number < length; ++number) {
      auto next = operation([&] { ++ran; });
      next->addDependency(previous);
      queue->addOperation(next);
      previous = std::move(next);
    }
    return first;
  };
  queue->addOperation(addChain());
  time.runUntilIdle();
  EXPECT_EQ(ran, length);
  queue->addOperation(addChain());
  queue->cancelAllOperations();
  time.runUntilIdle();
  static_cast<void>(addChain());
  queue.reset();
  EXPECT_EQ(ran, length);
}

TEST_F(NSOperationQueueTest, TheEndOfAQueueDropsWhatHasNotBegun) {
  const auto never = saying("never");
  const auto ready = saying("ready");
  const auto waiting = sayingAfter(never, "waiting");
  const auto held = std::make_shared<int>();
  ready->setCompletionBlock([this, held] { said.push_back("completed"); });
  queue->addOperation(ready);
  queue->addOperation(waiting);
  queue.reset();
  time.runUntilIdle();
  for (const auto& dropped : {ready, waiting}) {
    EXPECT_TRUE(dropped->isCancelled());
    EXPECT_TRUE(dropped->isFinished());
    EXPECT_EQ(dropped.use_count(), 2) << "this test's variable and the list of this loop";
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(said, Names());
  // It may still be cancelled, and what it depended on may still run.
  waiting->cancel();
  other->addOperation(never);
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"never"});
}

TEST_F(NSOperationQueueTest, WhatDependsOnADroppedOperationProceedsOnAnotherQueue) {
  const auto never = saying("never");
  const auto dropped = sayingAfter(never, "dropped");
  const auto droppedToo = sayingAfter(dropped, "dropped too");
  queue->addOperation(droppedToo);
  queue->addOperation(dropped);
  other->addOperation(sayingAfter(droppedToo, "proceeds"));
  time.runUntilIdle();
  EXPECT_EQ(said, Names());
  queue.reset();
  EXPECT_EQ(said, Names());
  time.runUntilIdle();
  EXPECT_EQ(said, Names{"proceeds"});
}

TEST_F(NSOperationQueueTest, WhatADroppedOperationHoldsMayAskItWhenItIsDestroyed) {
  auto dropped = saying("never");
  std::shared_ptr<int> held(new int(), [&](const int* value) {
    delete value;
    dropped->cancel();  // has the lock of all operations
    said.push_back("destroyed");
  });
  dropped->setCompletionBlock([held = std::move(held)] {});
  queue->addOperation(dropped);
  queue.reset();
  EXPECT_EQ(said, Names{"destroyed"});
}

using NSOperationQueueDeathTest = NSOperationQueueTest;

TEST_F(NSOperationQueueDeathTest, AnOperationIsAddedOnce) {
  const auto added = saying("main");
  queue->addOperation(added);
  EXPECT_DEATH(other->addOperation(added), "Fatal error: An operation is added a second time");
}

/// Queues on threads.
class NSOperationQueueOnThreadsTest : public ::testing::Test {
 protected:
  std::unique_ptr<NSOperationQueue> makeQueue(const std::string& name, std::size_t width) {
    return std::make_unique<NSOperationQueue>(
        makeSerialQueue,
        NSOperationQueue::Properties{.name = name, .maxConcurrentOperationCount = width});
  }

  SerialQueueFactory makeSerialQueue = [](const std::string& label) {
    return std::make_unique<ThreadExecutor>(label);
  };
};

TEST_F(NSOperationQueueOnThreadsTest, OperationsAndCompletionBlocksRunOnTheQueuesOwnThread) {
  std::promise<std::thread::id> completedOn;
  std::thread::id ranOn;
  const auto queue = makeQueue("queue", 1);
  const auto added = operation([&] { ranOn = std::this_thread::get_id(); });
  added->setCompletionBlock([&] { completedOn.set_value(std::this_thread::get_id()); });
  queue->addOperation(added);
  EXPECT_EQ(completedOn.get_future().get(), ranOn);
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST_F(NSOperationQueueOnThreadsTest, AWideQueueRunsAsManyAtOnceAsItMay) {
  constexpr int width = 3;
  std::atomic<int> running = 0;
  std::promise<void> all;
  const auto met = all.get_future().share();
  std::vector<std::shared_future<void>> ends;
  const auto queue = makeQueue("wide", width);
  for (int number = 0; number < width; ++number) {
    const auto ended = std::make_shared<std::promise<void>>();
    ends.push_back(ended->get_future().share());
    // None can end before all have begun.
    queue->addOperation(operation([&, met, ended] {
      if (++running == width) all.set_value();
      met.wait();
      ended->set_value();
    }));
  }
  for (const auto& end : ends) end.wait();
  EXPECT_EQ(running, width);
}

TEST_F(NSOperationQueueOnThreadsTest, AQueueNeverRunsMoreAtOnceThanItMay) {
  constexpr int width = 2;
  constexpr int count = 500;
  std::atomic<int> running = 0;
  std::atomic<int> excesses = 0;
  std::atomic<int> left = count;
  std::promise<void> end;
  const auto queue = makeQueue("wide", width);
  for (int number = 0; number < count; ++number) {
    queue->addOperation(operation([&] {
      if (++running > width) ++excesses;
      std::this_thread::yield();
      --running;
      if (--left == 0) end.set_value();
    }));
  }
  end.get_future().wait();
  EXPECT_EQ(excesses, 0);
}

TEST_F(NSOperationQueueOnThreadsTest, TheEndOfAQueueWaitsForWhatRunsAndDropsWhatThatAdds) {
  auto queue = makeQueue("ending", 1);
  std::promise<void> began;
  bool ranAnother = false;
  bool returned = false;
  bool completed = false;
  const auto running = operation([&, &ending = *queue] {
    began.set_value();
    // On a queue of width 1 nothing that is added meanwhile is finished before the end has begun.
    std::shared_ptr<NSOperation> added;
    do {
      added = operation([&] { ranAnother = true; });
      ending.addOperation(added);
    } while (!added->isFinished());
    returned = true;
  });
  running->setCompletionBlock([&] { completed = true; });
  queue->addOperation(running);
  began.get_future().wait();
  queue.reset();
  EXPECT_TRUE(returned);
  EXPECT_TRUE(completed);
  EXPECT_TRUE(running->isFinished());
  EXPECT_FALSE(running->isCancelled());
  EXPECT_FALSE(ranAnother);
}

/// Operations in a random graph over two queues; each notes what happens to it.
class RandomGraph {
 public:
  RandomGraph(std::size_t count, std::vector<NSOperationQueue*> queues)
      : nodes_(count), left_(count), queues_(std::move(queues)) {
    for (std::size_t number = 0; number < count; ++number) makeNode(number);
  }

  void addAll() {
    for (std::size_t number = 0; number < nodes_.size(); ++number) {
      queues_[random_() % queues_.size()]->addOperation(nodes_[number].operation);
    }
  }
  void cancel(std::size_t number) { nodes_[number].operation->cancel(); }
  void waitForEnd() { end_.get_future().wait(); }

  std::size_t overtakings() const { return overtakings_; }
  /// Operations that ended otherwise than they have to.
  std::size_t faults() const {
    return static_cast<std::size_t>(
        std::count_if(nodes_.begin(), nodes_.end(), [](const Node& node) {
          const bool isRight = node.operation->isCancelled() ? node.begun <= 1 : node.begun == 1;
          return !isRight || node.completed != 1 || !node.operation->isFinished();
        }));
  }
  std::size_t skipped() const {
    return static_cast<std::size_t>(std::count_if(
        nodes_.begin(), nodes_.end(), [](const Node& node) { return node.begun == 0; }));
  }

 private:
  struct Node {
    std::shared_ptr<NSOperation> operation;
    std::vector<std::size_t> dependencies;
    std::atomic<int> begun = 0;
    std::atomic<int> completed = 0;
  };

  void makeNode(std::size_t number) {
    auto& node = nodes_[number];
    node.operation = operation([this, &node] {
      ++node.begun;
      for (const auto dependency : node.dependencies) {
        if (nodes_[dependency].completed != 1) ++overtakings_;
      }
    });
    node.operation->setCompletionBlock([this, &node] {
      ++node.completed;
      if (--left_ == 0) end_.set_value();
    });
    constexpr std::size_t window = 100;
    for (auto count = std::min<std::size_t>(random_() % 4, number); count > 0; --count) {
      node.dependencies.push_back(number - 1 - random_() % std::min(number, window));
      node.operation->addDependency(nodes_[node.dependencies.back()].operation);
    }
  }

  std::mt19937 random_{20261121};
  std::vector<Node> nodes_;
  std::atomic<std::size_t> left_;
  std::atomic<std::size_t> overtakings_ = 0;
  std::promise<void> end_;
  std::vector<NSOperationQueue*> queues_;
};

TEST_F(NSOperationQueueOnThreadsTest, EveryOperationOfARandomGraphEndsOnceAfterWhatItDependsOn) {
  constexpr std::size_t count = 20000;
  auto narrow = makeQueue("narrow", 1);
  auto wide = makeQueue("wide", 3);
  RandomGraph graph(count, {narrow.get(), wide.get()});
  std::atomic<bool> ended = false;
  std::thread cancelling([&] {
    std::mt19937 random(1);
    for (std::size_t cancelled = 0; cancelled < count / 4 && !ended; ++cancelled) {
      graph.cancel(random() % count);
      if (cancelled % 16 == 0) std::this_thread::yield();
    }
  });
  graph.addAll();
  graph.waitForEnd();
  ended = true;
  cancelling.join();
  EXPECT_EQ(narrow->operationCount() + wide->operationCount(), 0U);
  narrow.reset();
  wide.reset();
  EXPECT_EQ(graph.faults(), 0U);
  EXPECT_EQ(graph.overtakings(), 0U);
  EXPECT_GT(graph.skipped(), 0U);
  EXPECT_LT(graph.skipped(), count);
}

}  // namespace
}  // namespace orvane::test
