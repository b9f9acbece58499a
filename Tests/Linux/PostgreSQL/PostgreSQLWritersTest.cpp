#include <atomic>
#include <set>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/PostgreSQL/PostgreSQLChangeMark.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

class PostgreSQLWriters : public ::testing::TestWithParam<int> {
 protected:
  void SetUp() override { must(server.cloud("alice")->saveZone(theZone, {})); }

  static constexpr int batches = 30;
  static constexpr int batchSize = 10;

  CloudInCluster server;
};

TEST_P(PostgreSQLWriters, missNoChangeInAFetchMeanwhile) {
  const int writers = GetParam();
  std::atomic<int> running = writers;
  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&, writer] {
      const auto cloud = server.cloud("alice", std::to_string(writer));
      for (int batch = 0; batch < batches; ++batch) {
        std::vector<CKRecord> records;
        for (int index = 0; index < batchSize; ++index) {
          records.push_back(record(
              std::to_string(writer) + "." + std::to_string(batch) + "." + std::to_string(index),
              ""));
        }
        must(cloud->modifyRecords(saving(std::move(records)), {}));
      }
      --running;
    });
  }
  const auto reader = server.cloud("alice", "reader");
  std::set<std::string> fetched;
  std::size_t count = 0;
  std::optional<CKServerChangeToken> token;
  std::int64_t last = 0;
  for (bool isLast = false; !isLast;) {
    isLast = running == 0;
    bool isMoreComing = true;
    while (isMoreComing) {
      const auto changes = must(reader->fetchChanges(theZone, token, 25, {}));
      for (const auto& changed : changes.changed) fetched.insert(changed.recordID().recordName);
      count += changes.changed.size();
      const auto mark = PostgreSQLChangeMark::parse(changes.token.value);
      ASSERT_TRUE(mark);
      ASSERT_TRUE(mark->seq > last || (mark->seq == last && changes.changed.empty()));
      last = mark->seq;
      token = changes.token;
      isMoreComing = changes.moreComing;
    }
  }
  for (auto& thread : threads) thread.join();
  const auto saved = static_cast<std::size_t>(writers * batches * batchSize);
  EXPECT_EQ(fetched.size(), saved);
  EXPECT_EQ(count, saved);
}

/// Each adds to the same record until it has succeeded so often; an addition that is lost shows.
TEST_P(PostgreSQLWriters, loseNoChangeOfEachOther) {
  constexpr int additions = 20;
  const int writers = GetParam();
  const auto count = [](const CKRecord& from) { return *from.as<std::int64_t>("count"); };
  auto first = record("one", "");
  first.setValue("count", CKRecordValue(std::int64_t{0}));
  must(server.cloud("alice")->modifyRecords(saving({first}), {}));
  std::vector<std::thread> threads;
  for (int writer = 0; writer < writers; ++writer) {
    threads.emplace_back([&, writer] {
      const auto cloud = server.cloud("alice", std::to_string(writer));
      auto mine = *found(*cloud, "one");
      for (int added = 0; added < additions;) {
        mine.setValue("count", CKRecordValue(count(mine) + 1));
        const auto result = cloud->modifyRecords(saving({mine}), {});
        if (result) {
          mine = mine.savedWithChangeTag(result->changeTags[0]);
          ++added;
        } else {
          mine = result.error().partialErrorsByItemID.at(0).error.serverRecord.value();
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(count(*found(*server.cloud("alice"), "one")), writers * additions);
}

INSTANTIATE_TEST_SUITE_P(Two, PostgreSQLWriters, ::testing::Values(2));
INSTANTIATE_TEST_SUITE_P(Eight, PostgreSQLWriters, ::testing::Values(8));

}  // namespace
}  // namespace orvane::test
