#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {
namespace {

using ::testing::IsEmpty;

Rule blocking(const std::string& id) {
  return {id, "", {{.urlFilter = "ads"}, *Action::make(ActionType::Block)}};
}

class AppliedPages : public ::testing::Test {
 protected:
  std::size_t pageCount() {
    const auto held = database.value(FetchedPages::key);
    if (!held || !*held) return 0;
    return (*held)->as<PropertyListValue::Dictionary>()->size();
  }
  RemoteChanges setting(const std::string& id) {
    return {.deleted = {}, .rules = {{blocking(id), "block-url"}}, .packages = {}};
  }
  void applied(const RemoteChanges& changes, const std::string& page) {
    ASSERT_TRUE(machine.defaults().setEntry(
        FetchedPages::key, page,
        PropertyListValue::Dictionary{{"deleted", PropertyListValue::Array()}}));
    handler.apply(changes, page, /*moreComing=*/false, nullptr);
    machine.run();
  }

  SyncingMachine machine;
  FailingKeyValueDatabase database{machine.machine.suiteDatabase};
  NSUserDefaults defaults{database, machine.machine.systemLog};
  FetchedPages pages{defaults};
  ResultsHandler handler{
      *machine.machine.mainQueue, machine.dataManager,
      [this](const std::vector<std::string>& names) { return pages.remove(names); }};
};

TEST_F(AppliedPages, AreRemoved) {
  applied(setting("1"), "page 1");
  EXPECT_EQ(pageCount(), 0U);
}

// Otherwise the next process would apply an old page again, and undo what came on later ones.
TEST_F(AppliedPages, ThatCannotBeRemovedAreRemovedWithTheNextOnes) {
  database.fails = true;
  applied(setting("1"), "page 1");
  database.fails = false;
  EXPECT_EQ(pageCount(), 1U);
  applied({.deleted = {"1"}, .rules = {}, .packages = {}}, "page 2");
  EXPECT_EQ(pageCount(), 0U);
  EXPECT_THAT(machine.rules().value(), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
