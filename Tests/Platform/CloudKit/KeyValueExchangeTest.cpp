#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Platform/CloudKit/KeyValueExchange.h"
#include "Platform/Foundation/InMemoryKeyValueDatabase.h"
#include "Platform/Foundation/NSUbiquitousKeyValueStore.h"
#include "Platform/Foundation/ThreadExecutor.h"
#include "Tests/Support/FailingKeyValueDatabase.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/SimulatedCloud.h"
#include "Tests/Support/VirtualTime.h"

namespace orvane::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Value = std::optional<PropertyListValue>;

/// A machine with a table that exchanges with the cloud.
struct Machine {
  using Storage = std::shared_ptr<InMemoryKeyValueDatabase::Storage>;

  Machine(SimulatedCloud& cloudOfUsers, VirtualTime& itsTime, const std::string& user = "mia",
          Storage itsStorage = InMemoryKeyValueDatabase::makeStorage())
      : time(itsTime), storage(std::move(itsStorage)), cloud(cloudOfUsers.connect(user)) {
    store.startNotifying();
    observation.emplace(center.addObserver(NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
                                           [this](const auto&) { ++notifications; }));
  }
  void set(const std::string& key, const char* value) {
    ASSERT_TRUE(store.setObject(value, key).has_value());
  }
  void exchangeAll() {
    exchange.exchange();
    time.runUntilIdle();
  }

  VirtualTime& time;
  Storage storage;
  std::unique_ptr<Executor> mainQueue = time.makeExecutor();
  std::unique_ptr<Executor> cloudQueue = time.makeExecutor();
  RecordingOutput systemLog;
  NSNotificationCenter center;
  InMemoryKeyValueDatabase own{storage, *mainQueue};
  NSUbiquitousKeyValueStore store{own, systemLog, center};
  int notifications = 0;
  std::optional<NSNotificationCenter::Observation> observation;
  std::unique_ptr<CloudBackend> cloud;
  InMemoryKeyValueDatabase ofExchange{storage, *mainQueue};
  FailingKeyValueDatabase table{ofExchange};
  KeyValueExchange exchange{
      {.own = own, .foreign = table}, *cloud, *cloudQueue, *mainQueue, systemLog};
};

class ExchangeOfKeyValues : public ::testing::Test {
 protected:
  SimulatedCloud cloud;
  VirtualTime time;
  Machine here{cloud, time};
  Machine there{cloud, time};
};

TEST_F(ExchangeOfKeyValues, takesChangesToTheOtherMachineWhichIsNotified) {
  here.set("packages", "ads");
  here.exchangeAll();
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), Value("ads"));
  EXPECT_EQ(there.notifications, 1);
}

TEST_F(ExchangeOfKeyValues, takesRemovals) {
  here.set("packages", "ads");
  here.exchangeAll();
  there.exchangeAll();
  ASSERT_TRUE(there.store.removeObject("packages").has_value());
  there.exchangeAll();
  here.exchangeAll();
  EXPECT_EQ(here.store.object("packages"), std::nullopt);
}

TEST_F(ExchangeOfKeyValues, leavesTheKeyToTheLastWhoseChangeReachesTheCloud) {
  here.exchangeAll();
  there.exchangeAll();
  here.set("packages", "first");
  there.set("packages", "second");
  here.exchangeAll();
  there.exchangeAll();
  here.exchangeAll();
  EXPECT_EQ(here.store.object("packages"), Value("second"));
  EXPECT_EQ(there.store.object("packages"), Value("second"));
}

TEST_F(ExchangeOfKeyValues, takesWhatTheCloudHasWhenTheyMeetForTheFirstTime) {
  here.set("packages", "of the cloud");
  here.exchangeAll();
  there.set("packages", "of a new machine");
  there.set("rules", "of a new machine");
  there.exchangeAll();
  here.exchangeAll();
  for (auto* machine : {&here, &there}) {
    EXPECT_EQ(machine->store.object("packages"), Value("of the cloud"));
    EXPECT_EQ(machine->store.object("rules"), Value("of a new machine"));
  }
}

TEST_F(ExchangeOfKeyValues, meetsAnotherCloudForTheFirstTimeToo) {
  here.set("packages", "of the first cloud");
  here.set("rules", "of the first cloud");
  here.set("removed", "of the first cloud");
  here.exchangeAll();
  Machine other{cloud, time, "ben"};
  other.set("packages", "of the second cloud");
  other.exchangeAll();

  Machine moved{cloud, time, "ben", here.storage};
  moved.set("packages", "changed before they meet");
  ASSERT_TRUE(moved.store.removeObject("removed").has_value());
  moved.exchangeAll();
  other.exchangeAll();
  for (auto* machine : {&moved, &other}) {
    EXPECT_EQ(machine->store.object("packages"), Value("of the second cloud"));
    EXPECT_EQ(machine->store.object("rules"), Value("of the first cloud"));
    EXPECT_EQ(machine->store.object("removed"), std::nullopt);
  }

  ASSERT_TRUE(other.store.removeObject("rules").has_value());
  other.exchangeAll();
  moved.exchangeAll();
  EXPECT_EQ(moved.store.object("rules"), std::nullopt);
}

TEST_F(ExchangeOfKeyValues, keepsAChangeThatIsMadeMeanwhileAndSendsItNext) {
  here.set("packages", "first");
  here.exchangeAll();
  there.exchangeAll();
  here.set("packages", "second");
  here.exchangeAll();
  there.exchange.exchange();
  there.set("packages", "meanwhile");
  time.runUntilIdle();
  there.exchangeAll();
  here.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), Value("meanwhile"));
  EXPECT_EQ(here.store.object("packages"), Value("meanwhile"));
}

TEST_F(ExchangeOfKeyValues, beginsByItselfAtEachChangeOnceItIsStarted) {
  here.exchange.start();
  time.runUntilIdle();
  here.set("packages", "ads");
  time.runUntilIdle();
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), Value("ads"));
}

TEST_F(ExchangeOfKeyValues, isTriedAgainWhenTheCloudSays) {
  CKError failure;
  failure.code = CKErrorCode::networkFailure;
  failure.localizedDescription = "No answer.";
  failure.retryAfter = 30;
  here.exchangeAll();
  cloud.failWith(failure);
  here.set("packages", "ads");
  here.exchangeAll();
  EXPECT_THAT(here.systemLog.take(), ElementsAre("Preferences were not exchanged: No answer."));
  time.advance(29s);
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), std::nullopt);
  time.advance(1s);
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), Value("ads"));
}

TEST_F(ExchangeOfKeyValues, convergesAfterALostAnswer) {
  here.exchangeAll();
  const std::size_t fetches = 1;
  cloud.loseAnswer(fetches);
  here.set("packages", "ads");
  here.exchangeAll();
  EXPECT_THAT(here.systemLog.take(), SizeIs(1));
  time.advance(1min);
  there.exchangeAll();
  EXPECT_EQ(here.store.object("packages"), Value("ads"));
  EXPECT_EQ(there.store.object("packages"), Value("ads"));
}

TEST_F(ExchangeOfKeyValues, changesNothingWhenTheTableCannotBeWritten) {
  here.set("packages", "ads");
  here.exchangeAll();
  there.table.fails = true;
  there.exchangeAll();
  EXPECT_THAT(there.systemLog.take(),
              ElementsAre("Preferences were not exchanged: The disk is on fire"));
  there.table.fails = false;
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), Value("ads"));
}

TEST_F(ExchangeOfKeyValues, isSilentWhenNothingHasChanged) {
  here.set("packages", "ads");
  here.exchangeAll();
  there.exchangeAll();
  const auto notifications = there.notifications;
  there.exchangeAll();
  EXPECT_EQ(there.notifications, notifications);
  EXPECT_THAT(there.systemLog.take(), IsEmpty());
}

TEST_F(ExchangeOfKeyValues, notifiesOfWhatArrivesAndNotOfWhatItSends) {
  there.set("packages", "ads");
  there.exchangeAll();
  EXPECT_EQ(there.notifications, 0);
  here.exchangeAll();
  EXPECT_EQ(here.notifications, 1);
  here.set("packages", "more ads");
  here.set("rules", "one");
  there.set("rules", "another");
  there.exchangeAll();
  here.exchangeAll();
  EXPECT_EQ(here.notifications, 1) << "of the other's change of the same key, it is the later one";
  there.exchangeAll();
  EXPECT_EQ(there.notifications, 1);
}

TEST_F(ExchangeOfKeyValues, receivesWhatOthersChangeWhileItCannotSend) {
  here.exchangeAll();
  ASSERT_TRUE(here.store.setObject(std::string(1'000'001, 'x'), "large").has_value());
  here.exchangeAll();
  there.set("packages", "ads");
  there.exchangeAll();
  here.exchangeAll();
  EXPECT_EQ(here.store.object("packages"), Value("ads"));
  ASSERT_TRUE(here.store.setObject("small", "large").has_value());
  here.exchangeAll();
  there.exchangeAll();
  EXPECT_EQ(there.store.object("large"), Value("small"));
}

TEST_F(ExchangeOfKeyValues, cancelsItsCallWhenItEnds) {
  here.set("packages", "ads");
  {
    KeyValueExchange shortLived({.own = here.own, .foreign = here.table}, *here.cloud,
                                *here.cloudQueue, *here.mainQueue, here.systemLog);
    shortLived.exchange();
  }
  time.runUntilIdle();
  there.exchangeAll();
  EXPECT_EQ(there.store.object("packages"), std::nullopt);
  EXPECT_THAT(here.systemLog.take(), IsEmpty());
}

TEST_F(ExchangeOfKeyValues, endsACallThatGoesOnWhenItEnds) {
  ThreadExecutor cloudQueue("cloud");
  cloud.hold(true);
  {
    KeyValueExchange shortLived({.own = here.own, .foreign = here.table}, *here.cloud, cloudQueue,
                                *here.mainQueue, here.systemLog);
    shortLived.exchange();
  }
  // Otherwise this has no end.
  cloudQueue.runAndWait([] {});
  cloud.hold(false);
}

TEST_F(ExchangeOfKeyValues, saysWhenTheStoreIsFull) {
  here.exchangeAll();
  ASSERT_TRUE(here.store.setObject(std::string(1'000'001, 'x'), "packages").has_value());
  here.exchangeAll();
  EXPECT_THAT(here.systemLog.take(),
              ElementsAre("Preferences were not exchanged: The key-value store is full."));
}

}  // namespace
}  // namespace orvane::test
