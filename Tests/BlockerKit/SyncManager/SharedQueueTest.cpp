#include <atomic>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using ::testing::UnorderedElementsAre;

constexpr int changes = 200;

struct SharedQueue : ::testing::Test {
  std::shared_ptr<TestMachine> machine = std::make_shared<TestMachine>();
  SyncProcess companion{machine};
  SyncProcess browser{machine};
  const Package package = packageOf("p");
};

TEST_F(SharedQueue, WhatOneProcessRecordsAnotherPushes) {
  browser.sync.ruleAdded(blockRule("a"), package);
  browser.sync.ruleDeleted(blockRule("b"), package);
  const auto records = companion.queue.all(rulesZone).recordsToSave.all();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records.front().recordID().recordName, "a");
  EXPECT_THAT(companion.queue.all(rulesZone).recordIDsToDelete,
              UnorderedElementsAre(CKRecordID{"b", rulesZone}));
}

TEST_F(SharedQueue, IsThereAfterBothProcessesHaveEnded) {
  { SyncProcess(machine).sync.ruleAdded(blockRule("a"), package); }
  EXPECT_TRUE(SyncProcess(machine).queue.containsAdded("a"));
}

TEST_F(SharedQueue, LosesNothingWhenTwoProcessesChangeItInTurn) {
  for (int i = 0; i < changes; ++i) {
    const auto name = std::to_string(i);
    companion.sync.ruleAdded(blockRule("companion " + name), package);
    browser.sync.ruleAdded(blockRule("browser " + name), package);
    companion.sync.ruleDeleted(blockRule("companion's old " + name), package);
    browser.sync.ruleDeleted(blockRule("browser's old " + name), package);
  }
  EXPECT_EQ(companion.queue.all(rulesZone).recordsToSave.size(), 2U * changes);
  EXPECT_EQ(companion.queue.all(rulesZone).recordIDsToDelete.size(), 2U * changes);
}

TEST_F(SharedQueue, LosesNothingWhenTwoProcessesChangeItAtOnce) {
  const auto work = [this](SyncProcess& process, const std::string& own) {
    for (int i = 0; i < changes; ++i) {
      process.sync.ruleAdded(blockRule(own + std::to_string(i)), package);
      process.sync.ruleDeleted(blockRule("old " + own + std::to_string(i)), package);
    }
  };
  std::thread other([&] { work(browser, "browser "); });
  work(companion, "companion ");
  other.join();
  EXPECT_EQ(companion.queue.all(rulesZone).recordsToSave.size(), 2U * changes);
  EXPECT_EQ(companion.queue.all(rulesZone).recordIDsToDelete.size(), 2U * changes);
}

/// While one process adds a rule again and again and another deletes it, it is one or the other.
TEST_F(SharedQueue, NeverHasARuleBothAddedAndDeleted) {
  std::atomic<bool> isDone = false;
  std::thread other([&] {
    while (!isDone) browser.sync.ruleDeleted(blockRule("a"), package);
  });
  int both = 0;
  for (int i = 0; i < changes; ++i) {
    companion.sync.ruleAdded(blockRule("a"), package);
    ASSERT_TRUE(companion.defaults().transact([&](KeyValueDatabase::Transaction& transaction) {
      const bool isAdded = transaction.entry("AddedRules", "a").has_value();
      const auto deleted = transaction.value("DeletedRules");
      if (isAdded == (deleted == PropertyListValue(Array{"a"}))) ++both;
    }));
  }
  isDone = true;
  other.join();
  EXPECT_EQ(both, 0);
}

}  // namespace
}  // namespace orvane::test
