#include <gtest/gtest.h>

#include "Platform/Foundation/NSUbiquitousKeyValueStore.h"
#include "Tests/Support/KeyValueMachine.h"

namespace orvane::test {
namespace {

class NSUbiquitousKeyValueStoreTest : public ::testing::Test {
 protected:
  int takeNotified() {
    time.runUntilIdle();
    return std::exchange(notified, 0);
  }

  VirtualTime time;
  std::shared_ptr<InMemoryKeyValueDatabase::Storage> storage =
      InMemoryKeyValueDatabase::makeStorage();
  KeyValueProcess process{time, storage};
  KeyValueProcess otherProcess{time, storage};
  NSNotificationCenter center;
  NSNotificationCenter otherCenter;
  NSUbiquitousKeyValueStore store{process.database, process.systemLog, center};
  NSUbiquitousKeyValueStore others{otherProcess.database, otherProcess.systemLog, otherCenter};
  int notified = 0;
  NSNotificationCenter::Observation observation =
      center.addObserver(NSUbiquitousKeyValueStoreDidChangeExternallyNotification,
                         [this](const auto&) { ++notified; });
};

TEST_F(NSUbiquitousKeyValueStoreTest, aChangeOfAnotherProcessIsNotifiedOnTheMainQueue) {
  store.startNotifying();
  ASSERT_TRUE(others.setObject(true, "k"));
  EXPECT_EQ(notified, 0);
  EXPECT_EQ(takeNotified(), 1);
  EXPECT_TRUE(store.boolForKey("k"));
  EXPECT_EQ(takeNotified(), 0);
}

TEST_F(NSUbiquitousKeyValueStoreTest, ownChangesAreNotNotified) {
  store.startNotifying();
  ASSERT_TRUE(store.setObject(true, "k"));
  EXPECT_EQ(takeNotified(), 0);
  ASSERT_TRUE(others.setObject(true, "another key"));
  ASSERT_TRUE(store.setObject(false, "k"));
  EXPECT_EQ(takeNotified(), 1);
  ASSERT_TRUE(store.removeObject("k"));
  EXPECT_EQ(takeNotified(), 0);
}

TEST_F(NSUbiquitousKeyValueStoreTest, whatChangesNothingIsNotNotified) {
  ASSERT_TRUE(others.setObject("same", "k"));
  store.startNotifying();
  ASSERT_TRUE(others.setObject("same", "k"));
  EXPECT_EQ(takeNotified(), 0);
}

TEST_F(NSUbiquitousKeyValueStoreTest, whatHappenedBeforeItStartedIsNotNotified) {
  ASSERT_TRUE(others.setObject(true, "k"));
  EXPECT_EQ(takeNotified(), 0);
  store.startNotifying();
  ASSERT_TRUE(store.setObject(true, "own"));
  EXPECT_EQ(takeNotified(), 0);
}

TEST_F(NSUbiquitousKeyValueStoreTest, startingTwiceNotifiesOnce) {
  store.startNotifying();
  ASSERT_TRUE(others.setObject(true, "k"));
  store.startNotifying();
  EXPECT_EQ(takeNotified(), 1);
}

TEST_F(NSUbiquitousKeyValueStoreTest, aChangeWhileTheDatabaseCannotBeReadIsNotifiedLater) {
  store.startNotifying();
  process.database.fails = true;
  ASSERT_TRUE(others.setObject(true, "k"));
  EXPECT_EQ(takeNotified(), 0);
  EXPECT_EQ(process.systemLog.take(), std::vector{process.database.error.localizedDescription});
  process.database.fails = false;
  ASSERT_TRUE(store.setObject(true, "own"));
  EXPECT_EQ(takeNotified(), 1);
}

TEST_F(NSUbiquitousKeyValueStoreTest, theLogSaysOnceWhyItCannotLookUntilItCan) {
  store.startNotifying();
  const std::vector said{process.database.error.localizedDescription};
  for (int round = 0; round < 2; ++round) {
    process.database.fails = true;
    ASSERT_TRUE(others.setObject(std::int64_t{round}, "k"));
    EXPECT_EQ(takeNotified(), 0);
    ASSERT_TRUE(others.setObject("text", "k"));
    EXPECT_EQ(takeNotified(), 0);
    EXPECT_EQ(process.systemLog.take(), said);
    process.database.fails = false;
    ASSERT_TRUE(others.setObject(true, "k"));
    EXPECT_EQ(takeNotified(), 1);
  }
}

TEST_F(NSUbiquitousKeyValueStoreTest, nothingIsNotifiedAfterItsEnd) {
  {
    NSUbiquitousKeyValueStore shortLived(process.database, process.systemLog, center);
    shortLived.startNotifying();
    ASSERT_TRUE(others.setObject(true, "k"));
  }
  EXPECT_EQ(takeNotified(), 0);
}

}  // namespace
}  // namespace orvane::test
