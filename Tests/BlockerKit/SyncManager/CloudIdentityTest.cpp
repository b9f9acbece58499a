#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/CloudIdentity.h"
#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

/// A machine whose user may choose another cloud.
class CloudIdentity : public ::testing::Test {
 protected:
  static void syncWith(SyncingMachine& machine, const std::string& identity) {
    ASSERT_TRUE(beginWithCloud(machine.defaults(), identity));
    machine.sync->update(machine.dataManager.configurablePackages());
    machine.run();
    machine.sync->fetchRemoteChanges(nullptr);
    machine.run();
  }

  SyncingMachine machine;
};

TEST_F(CloudIdentity, TheSameCloudIsGoneOnWith) {
  syncWith(machine, "here");
  const auto token = machine.defaults().object("ServerToken");
  const auto metadata = machine.defaults().object("RecordMetaData");
  ASSERT_NE(token, std::nullopt);
  ASSERT_TRUE(beginWithCloud(machine.defaults(), "here"));
  EXPECT_EQ(machine.defaults().object("ServerToken"), token);
  EXPECT_EQ(machine.defaults().object("RecordMetaData"), metadata);
  EXPECT_TRUE(machine.defaults().boolForKey("ZoneSaved"));
}

TEST_F(CloudIdentity, AnotherCloudGetsEverythingThatIsHere) {
  ASSERT_TRUE(machine.add(blockRule("a")));
  syncWith(machine, "here");

  const auto otherCloud = std::make_shared<TestMachine>();
  otherCloud->suite = machine.machine.machine->suite;
  SyncingMachine restarted(otherCloud);
  ASSERT_TRUE(restarted.add(blockRule("a")));
  syncWith(restarted, "there");

  auto another = std::make_shared<TestMachine>();
  another->cloud = otherCloud->cloud;
  SyncingMachine reader(another);
  // The clocks of the two are not the same; each runs by itself.
  syncWith(reader, "there");
  reader.sync->fetchRemoteChanges(nullptr);
  reader.run();
  EXPECT_THAT(reader.rules().value(), ElementsAre("a"));
}

TEST_F(CloudIdentity, WhatHasNotBeenSentIsKept) {
  ASSERT_TRUE(beginWithCloud(machine.defaults(), "here"));
  LocalChangesQueue queue(machine.defaults(), machine.machine.systemLog);
  ASSERT_TRUE(
      queue.change([](LocalChangesEdit& edit) { edit.markDeleted({"gone"}, RecordKind::rule); }));
  ASSERT_TRUE(beginWithCloud(machine.defaults(), "there"));
  EXPECT_EQ(queue.count().rulesToDelete, 1U);
}

TEST_F(CloudIdentity, NothingIsForgottenWhenThatCannotBeWritten) {
  syncWith(machine, "here");
  machine.machine.suiteAtRisk.fails = true;
  EXPECT_FALSE(beginWithCloud(machine.defaults(), "there"));
  machine.machine.suiteAtRisk.fails = false;
  EXPECT_TRUE(machine.defaults().boolForKey("ZoneSaved"));
  EXPECT_EQ(machine.defaults().object("CloudIdentity"), Value("here"));
}

}  // namespace
}  // namespace orvane::test
