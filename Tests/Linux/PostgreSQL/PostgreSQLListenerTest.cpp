#include <condition_variable>
#include <future>
#include <mutex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

using namespace std::string_literals;
using Kind = CloudEvent::Kind;

/// What a cloud tells of, as tests wait for it.
class Told {
 public:
  auto listener() {
    return [this](const CloudEvent& event) {
      const std::lock_guard lock(mutex_);
      events_.emplace_back(event.kind, event.subscriptionID);
      came_.notify_all();
    };
  }
  /// Takes away all up to the event. False when it does not come.
  bool waitFor(Kind kind, const std::string& subscription = "") {
    std::unique_lock lock(mutex_);
    const auto isThere = [&] {
      while (!events_.empty()) {
        const auto event = events_.front();
        events_.erase(events_.begin());
        if (event == std::pair(kind, subscription)) return true;
      }
      return false;
    };
    return came_.wait_for(lock, std::chrono::minutes(1), isThere);
  }
  bool has(Kind kind) {
    const std::lock_guard lock(mutex_);
    return std::any_of(events_.begin(), events_.end(),
                       [&](const auto& event) { return event.first == kind; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable came_;
  std::vector<std::pair<Kind, std::string>> events_;
};

class PostgreSQLListenerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    must(cloud->saveZone(theZone, {}));
    must(cloud->saveSubscription({"s", theZone}, {}));
  }

  /// Returns once everything that is told at first was told.
  void listen() {
    cloud->setListener(told.listener());
    ASSERT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
  }

  CloudInCluster server;
  // Destroyed after the cloud that tells it.
  Told told;
  std::unique_ptr<PostgreSQLCloud> cloud = server.cloud("alice", "a");
  std::unique_ptr<PostgreSQLCloud> other = server.cloud("alice", "b");
};

TEST_F(PostgreSQLListenerTest, tellsOfChangesOfAnotherMachineAndOfItsOwn) {
  listen();
  must(other->modifyRecords(saving({record("one", "")}), {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
  must(cloud->modifyRecords(saving({record("two", "")}), {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
  must(other->modifyRecords({theZone, {}, {{"one", theZone}}}, {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
}

TEST_F(PostgreSQLListenerTest, tellsOfTheKeyValueStore) {
  listen();
  must(other->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  EXPECT_TRUE(told.waitFor(Kind::keyValuesChanged));
}

TEST_F(PostgreSQLListenerTest, tellsOfAZoneThatIsDeletedOrSubscribedToLater) {
  listen();
  must(other->deleteZone(theZone, {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
  must(other->saveZone(theZone, {}));
  must(other->saveSubscription({"t", theZone}, {}));
  must(other->modifyRecords(saving({record("one", "")}), {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "t"));
}

TEST_F(PostgreSQLListenerTest, tellsNothingOfAZoneWithoutASubscriptionNorOfAnotherUser) {
  const CKRecordZoneID quiet{"quiet"};
  must(other->saveZone(quiet, {}));
  const auto bob = server.cloud("bob");
  must(bob->saveZone(theZone, {}));
  must(bob->saveSubscription({"of bob", theZone}, {}));
  listen();
  must(other->modifyRecords({quiet, {CKRecord("Rule", {"one", quiet})}, {}}, {}));
  must(bob->modifyRecords(saving({record("one", "")}), {}));
  must(other->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  EXPECT_TRUE(told.waitFor(Kind::keyValuesChanged));
  EXPECT_FALSE(told.has(Kind::zoneChanged));
}

TEST_F(PostgreSQLListenerTest, tellsAgainWhenTheServerHasBeenKilledAndStarted) {
  listen();
  server.cluster.kill();
  server.cluster.start();
  server.cluster.waitUntilReady();
  must(other->modifyRecords(saving({record("one", "")}), {}));
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
  must(other->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  EXPECT_TRUE(told.waitFor(Kind::keyValuesChanged));
  EXPECT_FALSE(told.has(Kind::accountChanged));
}

TEST_F(PostgreSQLListenerTest, tellsWhatHappenedWhileItHadNoConnection) {
  listen();
  server.tell("ALTER ROLE alice CONNECTION LIMIT 0");
  server.tell("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'alice'");
  server.tell("UPDATE orvane.zones SET seq = seq + 1");
  server.tell("ALTER ROLE alice CONNECTION LIMIT 10");
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
}

TEST_F(PostgreSQLListenerTest, beginsOnceThereIsAServer) {
  server.cluster.kill();
  cloud->setListener(told.listener());
  server.cluster.start();
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
}

TEST_F(PostgreSQLListenerTest, findsAChangeThatNoNotificationCameOf) {
  PostgreSQLCloud::Options options;
  options.lookInterval = std::chrono::milliseconds(20);
  cloud = server.cloud("alice", "a", options);
  listen();
  server.tell("UPDATE orvane.zones SET seq = seq + 1");
  EXPECT_TRUE(told.waitFor(Kind::zoneChanged, "s"));
}

TEST_F(PostgreSQLListenerTest, tellsThatTheAccountHasGone) {
  listen();
  server.tell("DELETE FROM orvane.accounts WHERE owner = 'alice'");
  server.tell("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'alice'");
  EXPECT_TRUE(told.waitFor(Kind::accountChanged));
}

TEST_F(PostgreSQLListenerTest, theEndWaitsForACallAndThenNothingIsTold) {
  std::promise<void> begun;
  std::promise<void> released;
  std::atomic<int> calls = 0;
  std::atomic<bool> hasEnded = false;
  cloud->setListener([&](const CloudEvent&) {
    if (++calls > 1) return;
    begun.set_value();
    released.get_future().wait();
    hasEnded = true;
  });
  begun.get_future().wait();
  auto ending = std::async(std::launch::async, [&] {
    cloud->setListener({});
    return hasEnded.load();
  });
  released.set_value();
  EXPECT_TRUE(ending.get());
  const int before = calls;
  must(cloud->modifyRecords(saving({record("one", "")}), {}));
  must(cloud->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  EXPECT_EQ(calls, before);
}

TEST_F(PostgreSQLListenerTest, endsAtOnceWhateverItWaitsFor) {
  const auto begin = std::chrono::steady_clock::now();
  listen();
  cloud->setListener({});  // for a notification
  server.cluster.freeze();
  cloud->setListener(told.listener());
  cloud->setListener({});  // for an answer
  server.cluster.thaw();
  server.cluster.kill();
  cloud->setListener(told.listener());
  cloud->setListener({});  // for its next attempt
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}

TEST_F(PostgreSQLListenerTest, anotherListenerTakesThePlaceOfTheFirst) {
  listen();
  Told second;
  cloud->setListener(second.listener());
  EXPECT_TRUE(second.waitFor(Kind::zoneChanged, "s"));
  must(other->modifyRecords(saving({record("one", "")}), {}));
  EXPECT_TRUE(second.waitFor(Kind::zoneChanged, "s"));
  cloud->setListener({});
  EXPECT_FALSE(told.has(Kind::zoneChanged));
}

}  // namespace
}  // namespace orvane::test
