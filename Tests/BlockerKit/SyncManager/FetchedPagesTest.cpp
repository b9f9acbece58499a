#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/FetchedPages.h"
#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto replace = InMemoryFileSystem::Operation::replace;
constexpr const char* finished = "Finished remote changes fetch";

struct StoredPages : ::testing::Test {
  void store(FetchedPages& to, const FetchPass& pass) {
    const auto name = to.nextName();
    ASSERT_TRUE(machine.suite().transact([&](KeyValueDatabase::Transaction& transaction) {
      FetchedPages::store(transaction, name, pass);
    }));
  }
  std::vector<std::string> firstNames() {
    std::vector<std::string> names;
    for (const auto& page : FetchedPages(machine.suite()).stored(rulesZone)) {
      names.push_back(page.pass.deleted.empty() ? "" : page.pass.deleted.front());
    }
    return names;
  }

  TestPlatform machine;
  FetchedPages pages{machine.suite()};
};

TEST_F(StoredPages, areReadBackAsTheyWere) {
  CKRecord record("rule", {"a", rulesZone}, "tag", {});
  record.setValue("flag", true);
  record.setValue("count", std::int64_t{-7});
  record.setValue("text", std::string("ä"));
  record.setValue("list", std::vector<std::string>{"one", ""});
  record.setValue("package", CKReference{{"p", rulesZone}});
  store(pages, {.changed = {record}, .deleted = {"b", "c"}, .metadata = {}});
  const auto stored = FetchedPages(machine.suite()).stored(rulesZone);
  ASSERT_EQ(stored.size(), 1U);
  ASSERT_EQ(stored[0].pass.changed.size(), 1U);
  const auto& read = stored[0].pass.changed[0];
  EXPECT_EQ(read.recordType(), "rule");
  EXPECT_EQ(read.recordID(), record.recordID());
  EXPECT_EQ(read.fields(), record.fields());
  EXPECT_THAT(stored[0].pass.deleted, ElementsAre("b", "c"));
}

TEST_F(StoredPages, stayInTheOrderInWhichTheyCame) {
  for (int number = 0; number < 12; ++number) {
    store(pages, {.changed = {}, .deleted = {std::to_string(number)}, .metadata = {}});
  }
  EXPECT_THAT(firstNames(),
              ElementsAre("0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"));
}

TEST_F(StoredPages, ofAnEarlierProcessComeBeforeItsOwn) {
  store(pages, {.changed = {}, .deleted = {"earlier"}, .metadata = {}});
  FetchedPages later(machine.suite());
  EXPECT_EQ(later.stored(rulesZone).size(), 1U);
  store(later, {.changed = {}, .deleted = {"later"}, .metadata = {}});
  EXPECT_THAT(firstNames(), ElementsAre("earlier", "later"));
}

TEST_F(StoredPages, ofManyItemsAreReadBackAndRemovedAsOne) {
  FetchPass large;
  for (int number = 0; number < 1000; ++number) {
    const auto name = fmt::format("{:04}", number);
    large.changed.push_back({"rule", {name, rulesZone}, "tag", {}});
    large.deleted.push_back("deleted " + name);
  }
  store(pages, large);
  store(pages, {.changed = {}, .deleted = {"next"}, .metadata = {}});
  const auto stored = FetchedPages(machine.suite()).stored(rulesZone);
  ASSERT_EQ(stored.size(), 2U);
  EXPECT_EQ(stored[0].pass.deleted, large.deleted);
  ASSERT_EQ(stored[0].pass.changed.size(), large.changed.size());
  for (std::size_t index = 0; index < large.changed.size(); ++index) {
    EXPECT_EQ(stored[0].pass.changed[index].recordID(), large.changed[index].recordID());
  }
  EXPECT_THAT(stored[1].pass.deleted, ElementsAre("next"));
  pages.remove({stored[0].name});
  EXPECT_THAT(firstNames(), ElementsAre("next"));
}

/// As an earlier version has stored them.
TEST_F(StoredPages, ofOnePieceAreReadAndRemoved) {
  const std::string name = "00000000000000000007";
  ASSERT_TRUE(machine.suite().setEntry(FetchedPages::key, name,
                                       Dictionary{{"changed", Array{}}, {"deleted", Array{"a"}}}));
  const auto stored = pages.stored(rulesZone);
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_EQ(stored[0].name, name);
  EXPECT_THAT(stored[0].pass.deleted, ElementsAre("a"));
  EXPECT_EQ(pages.nextName(), "00000000000000000008");
  pages.remove({name});
  EXPECT_THAT(pages.stored(rulesZone), IsEmpty());
}

TEST_F(StoredPages, areRemovedByTheirNames) {
  for (const auto* name : {"1", "2", "3"})
    store(pages, {.changed = {}, .deleted = {name}, .metadata = {}});
  const auto stored = FetchedPages(machine.suite()).stored(rulesZone);
  pages.remove({stored[0].name, stored[2].name});
  EXPECT_THAT(firstNames(), ElementsAre("2"));
}

TEST_F(StoredPages, areReadWithoutWhatIsDamaged) {
  const Dictionary sound{{"type", "rule"}, {"name", "a"}, {"fields", "{}"}};
  ASSERT_TRUE(machine.suite().setObject(
      Dictionary{
          {"1", "no page"},
          {"2", Dictionary{{"changed", "no list"}, {"deleted", Array{"b", true}}}},
          {"3", Dictionary{{"changed",
                            Array{"no record", Dictionary{{"type", "rule"}},
                                  Dictionary{{"type", "rule"}, {"name", "b"}, {"fields", "{"}},
                                  sound}}}}},
      FetchedPages::key));
  const auto stored = pages.stored(rulesZone);
  ASSERT_EQ(stored.size(), 3U);
  EXPECT_TRUE(stored[0].pass.isEmpty());
  EXPECT_THAT(stored[1].pass.deleted, ElementsAre("b"));
  ASSERT_EQ(stored[2].pass.changed.size(), 1U);
  EXPECT_EQ(stored[2].pass.changed[0].recordID().recordName, "a");
}

TEST_F(StoredPages, areNoneWhenSomethingElseIsThere) {
  ASSERT_TRUE(machine.suite().setObject("no pages", FetchedPages::key));
  EXPECT_THAT(pages.stored(rulesZone), IsEmpty());
}

/// A machine that dies.
class FetchAndDeath : public ConnectedMachine {
 protected:
  void runUntil(const std::string& line) {
    while (!machine->hasPrinted(line)) ASSERT_TRUE(machine->machine.time.runOne());
  }
  /// A new process fetches.
  void comeBack() {
    restart();
    machine->sync->update({});
    machine->run();
  }
  std::size_t pages() {
    const auto value = object(FetchedPages::key);
    const auto* dictionary = value ? value->as<Dictionary>() : nullptr;
    return dictionary == nullptr ? 0 : dictionary->size();
  }
  static std::string file(const char* name) {
    return std::string(TestPlatform::container) + "/" + name;
  }
  /// At the second request for changes.
  void beforeTheSecondPage(std::function<void()> action) {
    machine->cloud().watch(
        [this, action = std::move(action)](CloudRequest request, const CloudBatch* /*batch*/) {
          if (request == CloudRequest::fetchChanges && ++fetches_ == 2) action();
        });
  }

 private:
  std::size_t fetches_ = 0;
};

TEST_F(FetchAndDeath, betweenTwoPassesLosesNothing) {
  machine->cloud().setPageSize(1);
  cloudSide.save(ruleRecord("a"));
  cloudSide.save(ruleRecord("b"));
  machine->sync->fetchRemoteChanges(nullptr);
  runUntil("more coming...");
  EXPECT_EQ(pages(), 1U);
  comeBack();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a", "b"));
  EXPECT_EQ(count("Changetag for a: 1"), 0U);
  EXPECT_EQ(pages(), 0U);
}

TEST_F(FetchAndDeath, betweenTwoPassesKeepsThePackageOfALaterRule) {
  machine->cloud().setPageSize(1);
  cloudSide.save(packageRecord("p"));
  cloudSide.save(ruleRecord("a", "x", "p"));
  machine->sync->fetchRemoteChanges(nullptr);
  runUntil("more coming...");
  comeBack();
  EXPECT_THAT(machine->rules("p").value(), ElementsAre("a"));
}

TEST_F(FetchAndDeath, beforeTheSaveLosesNothing) {
  machine->add(blockRule("gone"));
  machine->run();
  fetch();
  take();
  cloudSide.remove("gone");
  cloudSide.save(ruleRecord("a"));
  machine->sync->fetchRemoteChanges(nullptr);
  runUntil(finished);
  EXPECT_EQ(pages(), 1U);
  comeBack();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
  EXPECT_EQ(count("Changetag for a: 3"), 0U);
  EXPECT_EQ(machine->reloads, 1U);
  EXPECT_EQ(pages(), 0U);
}

TEST_F(FetchAndDeath, afterTheSaveLeavesNoPage) {
  cloudSide.save(ruleRecord("a"));
  fetch();
  EXPECT_EQ(pages(), 0U);
  comeBack();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
  EXPECT_EQ(machine->reloads, 0U);
}

TEST_F(FetchAndDeath, rightAfterTheSaveAppliesThePageOnceMoreToNoEffect) {
  cloudSide.save(ruleRecord("a"));
  const auto observation = machine->machine.notificationCenter.addObserver(
      DataManager::didSaveNotification,
      [this](const NSNotification&) { machine->machine.suiteAtRisk.fails = true; });
  fetch();
  machine->machine.suiteAtRisk.fails = false;
  EXPECT_EQ(pages(), 1U);
  comeBack();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
  EXPECT_EQ(pages(), 0U);
}

TEST_F(FetchAndDeath, afterASaveThatFailedLosesNothing) {
  machine->machine.fileSystem.failAt(replace, file("ConfigurablePackages.json"));
  cloudSide.save(ruleRecord("a"));
  fetch();
  EXPECT_EQ(pages(), 1U);
  machine->machine.fileSystem.stopFailing();
  comeBack();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
  EXPECT_EQ(pages(), 0U);
}

TEST_F(FetchAndDeath, withoutAConnectionAppliesThePagesWithTheNextFetchThatSucceeds) {
  cloudSide.save(ruleRecord("a"));
  machine->sync->fetchRemoteChanges(nullptr);
  runUntil(finished);
  restart();
  machine->cloud().failWith(CloudRequest::fetchChanges, errorOf(CKErrorCode::networkFailure, 1));
  fetch();
  EXPECT_THAT(machine->rules().value(), IsEmpty());
  fetch();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
}

TEST_F(FetchAndDeath, ofAPassWithoutAChangeStoresNoPage) {
  auto lost = ruleRecord("a");
  lost.setValue("package", std::nullopt);
  cloudSide.save(lost);
  machine->sync->fetchRemoteChanges(nullptr);
  runUntil(finished);
  EXPECT_EQ(pages(), 0U);
}

TEST_F(FetchAndDeath, aFailedSaveIsMadeUpForByTheNextOne) {
  machine->machine.fileSystem.failAt(replace, file("ConfigurablePackages.json"));
  cloudSide.save(ruleRecord("a"));
  fetch();
  machine->machine.fileSystem.stopFailing();
  cloudSide.save(ruleRecord("b"));
  fetch();
  EXPECT_EQ(pages(), 0U);
  restart();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a", "b"));
}

TEST_F(FetchAndDeath, aRuleThatOnePageChangesAndTheNextDeletesStays) {
  // Deletions come before additions within one fetch, however its pages were.
  machine->cloud().setPageSize(1);
  cloudSide.save(ruleRecord("a"));
  cloudSide.save(ruleRecord("b"));
  beforeTheSecondPage([this] { cloudSide.remove("a"); });
  fetch();
  EXPECT_THAT(cloudSide.names(), ElementsAre("b"));
  EXPECT_THAT(machine->rules().value(), ElementsAre("a", "b"));
}

}  // namespace
}  // namespace orvane::test
