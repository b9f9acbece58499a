#include <atomic>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "Platform/Foundation/NSNotificationCenter.h"

namespace orvane {
namespace {

using Observation = NSNotificationCenter::Observation;
using Names = std::vector<std::string>;

class NSNotificationCenterTest : public testing::Test {
 protected:
  /// An observer of "n" that says when it is called.
  [[nodiscard]] Observation observe(const std::string& name) {
    return center.addObserver("n", [this, name](const auto&) { called.push_back(name); });
  }

  NSNotificationCenter center;
  Names called;
};

TEST_F(NSNotificationCenterTest, ObserversAreCalledInTheOrderInWhichTheyWereAdded) {
  const auto first = observe("first");
  auto second = observe("second");
  const auto third = observe("third");
  center.post({"n", {}});
  EXPECT_EQ(called, (Names{"first", "second", "third"}));
  called.clear();
  second = observe("second again");
  center.post({"n", {}});
  EXPECT_EQ(called, (Names{"first", "third", "second again"}));
}

TEST_F(NSNotificationCenterTest, OnlyObserversOfThatExactNameAreCalled) {
  const auto observation = observe("observer");
  center.post({"N", {}});
  center.post({"", {}});
  center.post({"nn", {}});
  EXPECT_EQ(called, Names());
}

TEST_F(NSNotificationCenterTest, AnObserverGetsTheWholeNotification) {
  NSNotification received;
  const auto observation =
      center.addObserver("n", [&](const auto& notification) { received = notification; });
  const NSNotification posted{"n", {{"flag", false}, {"text", std::string("t")}}};
  center.post(posted);
  EXPECT_EQ(received.name, "n");
  EXPECT_EQ(received.userInfo, posted.userInfo);
}

TEST_F(NSNotificationCenterTest, PostingToNobodyDoesNothing) {
  EXPECT_NO_THROW(center.post({"n", {}}));
}

TEST_F(NSNotificationCenterTest, AnObservationLastsAsLongAsItsValue) {
  {
    const auto observation = observe("short");
    center.post({"n", {}});
  }
  center.post({"n", {}});
  EXPECT_EQ(called, Names{"short"});
}

TEST_F(NSNotificationCenterTest, AMovedObservationGoesOn) {
  Observation kept;
  {
    auto observation = observe("moved");
    kept = std::move(observation);
  }
  center.post({"n", {}});
  EXPECT_EQ(called, Names{"moved"});
  kept = Observation();
  center.post({"n", {}});
  EXPECT_EQ(called, Names{"moved"});
}

TEST_F(NSNotificationCenterTest, AnObservationMayOutliveTheCenter) {
  auto shared = std::make_shared<int>(0);
  Observation observation;
  {
    NSNotificationCenter shortLived;
    observation = shortLived.addObserver("n", [shared](const auto&) { ++*shared; });
    shortLived.post({"n", {}});
  }
  EXPECT_EQ(*shared, 1);
  observation = Observation();
  EXPECT_EQ(shared.use_count(), 1);
}

TEST_F(NSNotificationCenterTest, TheEndOfAnObservationFreesWhatItsCallbackHolds) {
  const auto shared = std::make_shared<int>(0);
  auto observation = center.addObserver("n", [shared](const auto&) {});
  EXPECT_EQ(shared.use_count(), 2);
  observation = Observation();
  EXPECT_EQ(shared.use_count(), 1);
}

TEST_F(NSNotificationCenterTest, AnObserverThatAnEarlierOneRemovesIsNotCalled) {
  std::optional<Observation> later;
  const auto first = center.addObserver("n", [&](const auto&) {
    called.push_back("first");
    later.reset();
  });
  later = observe("later");
  const auto last = observe("last");
  center.post({"n", {}});
  EXPECT_EQ(called, (Names{"first", "last"}));
}

TEST_F(NSNotificationCenterTest, AnObserverMayRemoveItself) {
  std::optional<Observation> once;
  // The text is long enough to be freed too early, were it freed with the observation.
  once = center.addObserver("n", [&, text = std::string(100, 'x')](const auto&) {
    once.reset();
    called.push_back(text);
  });
  center.post({"n", {}});
  center.post({"n", {}});
  EXPECT_EQ(called, Names{std::string(100, 'x')});
}

TEST_F(NSNotificationCenterTest, AnObserverThatIsAddedWhilePostingHearsTheNextOne) {
  std::vector<Observation> added;
  const auto first = center.addObserver("n", [&](const auto&) {
    called.push_back("first");
    if (added.empty()) added.push_back(observe("added"));
  });
  center.post({"n", {}});
  EXPECT_EQ(called, Names{"first"});
  center.post({"n", {}});
  EXPECT_EQ(called, (Names{"first", "first", "added"}));
}

TEST_F(NSNotificationCenterTest, AnObserverMayPost) {
  const auto inner = center.addObserver("inner", [&](const auto&) { called.push_back("inner"); });
  const auto outer = center.addObserver("n", [&](const auto&) {
    called.push_back("before");
    center.post({"inner", {}});
    called.push_back("after");
  });
  center.post({"n", {}});
  EXPECT_EQ(called, (Names{"before", "inner", "after"}));
}

TEST_F(NSNotificationCenterTest, IsDeliveredOnTheThreadThatPosts) {
  std::thread::id deliveredOn;
  const auto observation =
      center.addObserver("n", [&](const auto&) { deliveredOn = std::this_thread::get_id(); });
  std::thread poster([&] {
    center.post({"n", {}});
    EXPECT_EQ(deliveredOn, std::this_thread::get_id());
  });
  poster.join();
  EXPECT_NE(deliveredOn, std::this_thread::get_id());
}

TEST_F(NSNotificationCenterTest, SeveralThreadsMayPostAndObserveAtOnce) {
  constexpr int threadCount = 4;
  constexpr int rounds = 500;
  std::atomic<int> heard = 0;
  std::atomic<int> heardByPasserBy = 0;
  const auto observation = center.addObserver("n", [&](const auto&) { ++heard; });
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        const auto passerBy = center.addObserver("n", [&](const auto&) { ++heardByPasserBy; });
        center.post({"n", {}});
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(heard, threadCount * rounds);
  EXPECT_GE(heardByPasserBy, threadCount * rounds);
}

TEST_F(NSNotificationCenterTest, AThreadMayEndAnObservationWhileAnotherPosts) {
  std::atomic<bool> done = false;
  std::atomic<int> heard = 0;
  std::thread poster([&] {
    while (!done) center.post({"n", {}});
  });
  for (int round = 0; round < 500; ++round) {
    const auto before = heard.load();
    auto observation = center.addObserver("n", [&](const auto&) { ++heard; });
    while (heard == before) std::this_thread::yield();
    observation = Observation();
  }
  done = true;
  poster.join();
  const auto atTheEnd = heard.load();
  center.post({"n", {}});
  EXPECT_GE(atTheEnd, 500);
  EXPECT_EQ(heard, atTheEnd);
}

}  // namespace
}  // namespace orvane
