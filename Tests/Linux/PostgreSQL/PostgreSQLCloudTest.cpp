#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PostgreSQLCloudTest : public ::testing::Test {
 protected:
  CloudInCluster server;
  std::unique_ptr<PostgreSQLCloud> cloud = server.cloud("alice", "a");
  std::unique_ptr<PostgreSQLCloud> other = server.cloud("alice", "b");
};

using namespace std::string_literals;

TEST_F(PostgreSQLCloudTest, knowsAUserWithAnAccount) {
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
}

TEST_F(PostgreSQLCloudTest, savesAndFetchesARecord) {
  must(cloud->saveZone(zone, {}));
  const auto saved = must(cloud->modifyRecords(saving({record("one", "first")}), {}));
  const auto fetched = must(other->fetchChanges(zone, std::nullopt, 10, {}));
  ASSERT_EQ(fetched.changed.size(), 1U);
  EXPECT_EQ(fetched.changed[0].recordChangeTag(), saved.changeTags[0]);
  EXPECT_EQ(fetched.changed[0].value("text"), CKRecordValue("first"s));
}

}  // namespace
}  // namespace orvane::test
