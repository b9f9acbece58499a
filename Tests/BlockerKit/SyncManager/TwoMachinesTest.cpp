#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

class TwoMachines : public ::testing::Test {
 protected:
  /// The first machine's changes are pushed, and fetched by the second.
  void sync(SyncingMachine& from, SyncingMachine& to) {
    from.sync->pushAllLocalUpdates(1);
    from.run();
    to.sync->update({});
    to.run();
    to.sync->fetchRemoteChanges(nullptr);
    to.run();
  }

  static std::vector<Rule> rulesOf(SyncingMachine& machine) {
    return machine.dataManager.configurablePackage(ConfigurablePackageType::BlockURL)->rules;
  }

  SyncingMachine first;
  SyncingMachine second{anotherMachine(first)};
};

TEST_F(TwoMachines, ARuleOfOneIsTheOthersToo) {
  ASSERT_TRUE(first.add(blockRule("a")));
  sync(first, second);
  EXPECT_THAT(second.rules().value(), ElementsAre("a"));
  EXPECT_EQ(second.reloads, 1U);
}

TEST_F(TwoMachines, ChangesOfOneReachTheOther) {
  ASSERT_TRUE(first.add(blockRule("a")));
  ASSERT_TRUE(first.add(blockRule("b")));
  sync(first, second);
  ASSERT_TRUE(first.add(blockRule("a", "changed")));
  ASSERT_TRUE(first.dataManager.replaceRule(blockRule("b"), std::nullopt,
                                            ConfigurablePackageType::BlockURL));
  sync(first, second);
  EXPECT_THAT(rulesOf(second), ElementsAre(blockRule("a", "changed")));
}

TEST_F(TwoMachines, EndWithTheLaterEditOfARuleThatBothHaveChanged) {
  ASSERT_TRUE(first.add(blockRule("a")));
  sync(first, second);
  ASSERT_TRUE(first.add(blockRule("a", "first")));
  ASSERT_TRUE(second.add(blockRule("a", "second")));
  sync(first, second);
  sync(second, first);
  EXPECT_THAT(rulesOf(first), ElementsAre(blockRule("a", "second")));
  EXPECT_THAT(rulesOf(second), ElementsAre(blockRule("a", "second")));
}

TEST_F(TwoMachines, EndWithTheWholeRuleOfTheLaterOneThoughTheyHaveChangedDifferentFields) {
  ASSERT_TRUE(first.add(blockRule("a")));
  sync(first, second);
  auto renamed = blockRule("a");
  renamed.name = "Renamed";
  ASSERT_TRUE(first.add(renamed));
  ASSERT_TRUE(second.add(blockRule("a", "second")));
  sync(first, second);
  sync(second, first);
  EXPECT_THAT(rulesOf(first), ElementsAre(blockRule("a", "second")));
  EXPECT_THAT(rulesOf(second), ElementsAre(blockRule("a", "second")));
}

TEST_F(TwoMachines, RestoredFromABackupFindTheirRulesInTheCloudOneARequest) {
  constexpr std::size_t count = 100;
  for (std::size_t number = 0; number < count; ++number) {
    ASSERT_TRUE(first.add(blockRule(std::to_string(number))));
  }
  first.run();
  second.machine.fileSystem.files = first.machine.fileSystem.files;
  std::size_t saves = 0;
  second.cloud().watch([&](CloudRequest request, const CloudBatch* /*batch*/) {
    if (request == CloudRequest::modifyRecords) ++saves;
  });
  second.sync->update({*second.dataManager.configurablePackage(ConfigurablePackageType::BlockURL)});
  second.run();
  // One for each rule, and one for the package, which the cloud did not have.
  EXPECT_EQ(saves, count + 1);
  EXPECT_EQ(second.defaults().object("AddedRules"), Value(Dictionary{}));
  EXPECT_EQ(second.defaults().object("AddedPackages"), Value(Dictionary{}));
  sync(second, first);
  EXPECT_EQ(rulesOf(first), rulesOf(second));
}

}  // namespace
}  // namespace orvane::test
