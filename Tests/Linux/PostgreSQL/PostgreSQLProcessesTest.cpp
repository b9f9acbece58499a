#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "Tests/Linux/CloudWriters.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

class PostgreSQLProcesses : public ::testing::Test {
 protected:
  void SetUp() override { must(cloud->saveZone(zoneOfClients, {})); }

  /// The server finishes what it was sent, and notices only then that its client is gone.
  void waitUntilOthersAreGone() {
    while (server.tell("SELECT FROM pg_stat_activity WHERE usename = 'alice'")[0].rows() > 1) {
      std::this_thread::yield();
    }
  }

  CloudInCluster server;
  std::unique_ptr<PostgreSQLCloud> cloud = server.cloud("alice");
  CloudWriters writers{*cloud, server.cluster.connectionString("alice")};
};

TEST_F(PostgreSQLProcesses, nothingOfTwoWritersIsMissed) { writers.follow(2); }

TEST_F(PostgreSQLProcesses, nothingOfEightWritersIsMissed) { writers.follow(8); }

TEST_F(PostgreSQLProcesses, twoWritersLoseNoChangeOfEachOther) { writers.addToOneNumber(2); }

TEST_F(PostgreSQLProcesses, eightWritersLoseNoChangeOfEachOther) { writers.addToOneNumber(8); }

TEST_F(PostgreSQLProcesses, aKilledWriterLeavesAWholeBatchOrNothingOfIt) {
  writers.killAtWork(30, [&] { waitUntilOthersAreGone(); });
}

}  // namespace
}  // namespace orvane::test
