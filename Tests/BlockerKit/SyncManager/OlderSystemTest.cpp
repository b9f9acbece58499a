#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/CloudOperations.h"
#include "Tests/BlockerKit/SyncManager/SyncingMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

/// Two machines whose system has only the older forms of some requests.
class OlderSystem : public ::testing::Test {
 protected:
  OlderSystem() { first.cloud().offerOnlyOlderRequests(); }

  static void start(SyncingMachine& machine) {
    machine.sync->update({});
    machine.run();
  }
  static void fetch(SyncingMachine& machine) {
    machine.sync->fetchRemoteChanges(nullptr);
    machine.run();
  }

  SyncingMachine first;
  SyncingMachine second{anotherMachine(first)};
};

TEST_F(OlderSystem, SubscribesInTheOlderForm) {
  start(first);
  EXPECT_NE(first.defaults().object("ZoneSubscribtionID"), std::nullopt);
}

TEST_F(OlderSystem, FetchesWhatOthersHaveChangedAndDeleted) {
  start(first);
  start(second);
  ASSERT_TRUE(first.add(blockRule("a")));
  ASSERT_TRUE(first.add(blockRule("b")));
  first.run();
  fetch(second);
  EXPECT_THAT(second.rules().value(), ElementsAre("a", "b"));
  ASSERT_TRUE(first.dataManager.replaceRule(blockRule("a"), std::nullopt,
                                            ConfigurablePackageType::BlockURL));
  first.run();
  fetch(second);
  EXPECT_THAT(second.rules().value(), ElementsAre("b"));
  EXPECT_NE(second.defaults().object("ServerToken"), std::nullopt);
}

TEST_F(OlderSystem, FetchesPageAfterPage) {
  start(first);
  start(second);
  for (const auto* id : {"a", "b", "c"}) ASSERT_TRUE(first.add(blockRule(id)));
  first.run();
  first.cloud().setPageSize(1);
  fetch(second);
  EXPECT_THAT(second.rules().value(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(second.printed(), Contains("more coming..."));
}

TEST_F(OlderSystem, SaysWhyAFetchHasFailed) {
  std::optional<bool> result;
  first.sync->fetchRemoteChanges([&](bool succeeded) { result = succeeded; });
  first.run();
  EXPECT_EQ(result, false);
  EXPECT_THAT(first.printed(), Contains("There is no zone “BlockerRulesZone”."));
}

TEST_F(OlderSystem, RefusesTheNewerForms) {
  const CKDatabase database({first.machine.platform.cloud, first.machine.platform.cloudQueue,
                             first.machine.platform.mainQueue, first.machine.platform.systemLog});
  auto fetching = std::make_shared<CKFetchRecordZoneChangesOperation>(rulesZone, std::nullopt);
  std::vector<CKErrorCode> codes;
  fetching->setRecordZoneFetchCompletionBlock(
      [&](const auto& result) { codes.push_back(result.error.value().code); });
  database.addOperation(fetching);
  auto subscribing = std::make_shared<CKModifySubscriptionsOperation>(
      std::vector<CKSubscription>{{"mine", rulesZone}});
  subscribing->setModifySubscriptionsCompletionBlock(
      [&](const auto& /*saved*/, const auto& error) { codes.push_back(error.value().code); });
  database.addOperation(subscribing);
  first.run();
  EXPECT_THAT(codes, ElementsAre(CKErrorCode::invalidArguments, CKErrorCode::invalidArguments));
}

}  // namespace
}  // namespace orvane::test
