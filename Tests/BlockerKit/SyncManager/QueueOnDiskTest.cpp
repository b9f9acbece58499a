#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A queue in a file that processes share.
struct ProcessOnDisk {
  ProcessOnDisk(MainLoop& loop, const std::filesystem::path& path) : database(path, loop.queue) {}

  SQLiteKeyValueDatabase database;
  SyncProcess rest;
  NSUserDefaults defaults{database, rest.machine.systemLog};
  LocalChangesQueue queue{defaults, rest.machine.systemLog};
  SyncManager sync{rest.machine.platform, defaults, rest.dataManager, SyncManager::Cloud::none,
                   [] {}};
};

struct QueueOnDisk : ::testing::Test {
  MainLoop loop;
  TemporaryDirectory folder;
  std::filesystem::path path = folder / "UserDefaults.sqlite";
};

TEST_F(QueueOnDisk, IsWhatAnotherProcessReads) {
  auto rule = blockRule("a");
  rule.blocker.trigger.resourceTypes.emplace();
  rule.blocker.trigger.domainFilter = {DomainFilterType::UnlessDomain, {"ünïcode.example"}};
  {
    ProcessOnDisk browser(loop, path);
    browser.sync.packageAdded(packageOf("p", {rule, blockRule("b"), blockRule("c")}));
    browser.sync.ruleDeleted(blockRule("b"), packageOf("p"));
    EXPECT_THAT(browser.rest.logged(), IsEmpty());
  }
  ProcessOnDisk companion(loop, path);
  const auto records = companion.queue.all(rulesZone).recordsToSave.all();
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(packageFromRecord(records[0]), packageOf("p"));
  EXPECT_EQ(ruleFromRecord(records[1]), rule);
  EXPECT_EQ(ruleFromRecord(records[2]), blockRule("c"));
  EXPECT_THAT(companion.queue.all(rulesZone).recordIDsToDelete,
              ElementsAre(CKRecordID{"b", rulesZone}));
  companion.queue.change([](LocalChangesEdit& edit) { edit.forget({"a", "b", "c", "p"}); });
  EXPECT_THAT(companion.queue.all(rulesZone).recordsToSave.all(), IsEmpty());
  EXPECT_THAT(companion.queue.all(rulesZone).recordIDsToDelete, IsEmpty());
}

/// The file takes no such text, and would refuse the rules that come with it.
TEST_F(QueueOnDisk, ARuleThatItCannotHoldDoesNotKeepTheRestOut) {
  const auto wrong = packageOf("p", {blockRule("zero", std::string("a\0b", 3)),
                                     blockRule(std::string("\xFF")), blockRule("good")});
  ProcessOnDisk process(loop, path);
  process.sync.packageAdded(wrong);
  EXPECT_EQ(process.defaults.object("AddedRules"), Value(Dictionary{{"good", blockFields("p")}}));
  process.sync.update({wrong});
  EXPECT_EQ(process.defaults.object("AddedRules"), Value(Dictionary{{"good", blockFields("p")}}));
  process.sync.packageDeleted(wrong);
  EXPECT_EQ(process.defaults.object("DeletedRules"), Value(Array{"zero", "good"}));
  EXPECT_EQ(process.defaults.object("AddedRules"), Value(Dictionary{}));
}

}  // namespace
}  // namespace orvane::test
