#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/CloudOperations.h"
#include "Platform/CloudKit/CKContainer.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Sizes = std::vector<std::pair<std::size_t, std::size_t>>;

class RequestsOfASync : public ::testing::Test {
 protected:
  CKRecordID idOf(std::size_t number) { return {fmt::format("rule-{}", number), zone.zoneID}; }

  RecordsToSave rules(PropertyListValue::Dictionary fields) {
    return {entriesOf({}), entriesOf(std::move(fields)), entriesOf({}), zone.zoneID,
            machine.systemLog};
  }

  Sizes sizes(std::size_t records, std::size_t deletions, std::size_t split) {
    PropertyListValue::Dictionary saves;
    std::vector<CKRecordID> ids;
    for (std::size_t number = 0; number < records; ++number)
      saves.emplace(idOf(number).recordName, PropertyListValue::Dictionary());
    for (std::size_t number = 0; number < deletions; ++number)
      ids.push_back(idOf(records + number));
    Sizes result;
    for (const auto& operation : modifyRecordsOperations(database, rules(saves), ids, split)) {
      result.emplace_back(operation->recordCount(), operation->recordIDsToDelete().size());
    }
    return result;
  }

  std::optional<NSQualityOfService> qualityOfAFetch() {
    const FetchHandlers handlers{.recordChanged = [](const CKRecord&) {},
                                 .recordDeleted = [](const CKRecordID&) {},
                                 .zoneFetchCompleted = [](const auto&) {}};
    return fetchChangesOperation(database, zone, std::nullopt, handlers)->qualityOfService();
  }

  TestPlatform machine;
  CKRecordZone zone{"BlockerRulesZone"};
  CKDatabase database{{machine.platform.cloud, machine.platform.cloudQueue,
                       machine.platform.mainQueue, machine.platform.systemLog}};
};

TEST_F(RequestsOfASync, areNoneWithoutAChange) { EXPECT_THAT(sizes(0, 0, 1), IsEmpty()); }

TEST_F(RequestsOfASync, areOneForAllWhenNothingIsSplit) {
  EXPECT_EQ(sizes(10, 0, 1), (Sizes{{10, 0}}));
  EXPECT_EQ(sizes(0, 4, 1), (Sizes{{0, 4}}));
  EXPECT_EQ(sizes(7, 4, 1), (Sizes{{7, 4}}));
}

TEST_F(RequestsOfASync, mayBeMoreThanTheSplit) {
  EXPECT_EQ(sizes(10, 0, 3), (Sizes{{3, 0}, {3, 0}, {3, 0}, {1, 0}}));
  EXPECT_EQ(sizes(7, 0, 2), (Sizes{{3, 0}, {3, 0}, {1, 0}}));
}

TEST_F(RequestsOfASync, haveAtLeastOneItemEach) {
  EXPECT_EQ(sizes(2, 0, 8), (Sizes{{1, 0}, {1, 0}}));
  EXPECT_EQ(sizes(5, 1, 4), (Sizes{{1, 1}, {1, 0}, {1, 0}, {1, 0}, {1, 0}}));
}

TEST_F(RequestsOfASync, areOfUtilityQualityWhenTheyFetchInEitherForm) {
  EXPECT_EQ(qualityOfAFetch(), NSQualityOfService::utility);
  machine.machine->cloud->offerOnlyOlderRequests();
  EXPECT_EQ(qualityOfAFetch(), NSQualityOfService::utility);
}

TEST_F(RequestsOfASync, areOfTheQueuesQualityWhenTheySave) {
  const auto save = modifyRecordsOperations(database, {}, {idOf(1)}, 1).at(0);
  EXPECT_EQ(save->qualityOfService(), std::nullopt);
}

TEST_F(RequestsOfASync, bringARuleFromOneMachineToAnother) {
  std::vector<std::string> fetched;
  const auto save = saveZoneOperation(database, zone);
  const auto subscribe = subscribeToChangesOperation(database, zone, "mine");
  const PropertyListValue::Dictionary rule{
      {idOf(1).recordName, PropertyListValue::Dictionary{{"name", "first"}}}};
  const auto modify = modifyRecordsOperations(database, rules(rule), {}, 1).at(0);
  const FetchHandlers handlers{
      .recordChanged =
          [&](const CKRecord& record) { fetched.push_back(record.recordID().recordName); },
      .recordDeleted = [](const CKRecordID&) {},
      .zoneFetchCompleted = [](const auto&) {}};
  const auto fetch = fetchChangesOperation(database, zone, std::nullopt, handlers);
  NSOperationQueue queue(machine.platform.makeSerialQueue, {.name = "requests"});
  modify->addDependency(save);
  subscribe->addDependency(save);
  for (const std::shared_ptr<NSOperation>& operation :
       std::vector<std::shared_ptr<NSOperation>>{subscribe, modify, save}) {
    queue.addOperation(operation);
  }
  machine.time.runUntilIdle();
  database.addOperation(fetch);
  machine.time.runUntilIdle();
  EXPECT_THAT(fetched, ElementsAre("rule-1"));
}

}  // namespace
}  // namespace orvane::test
