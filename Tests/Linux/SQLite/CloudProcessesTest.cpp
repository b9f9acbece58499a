#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Linux/SQLite/SQLiteCloud.h"
#include "Tests/Linux/ClientProcess.h"
#include "Tests/Linux/CloudClient.h"
#include "Tests/Linux/CloudWriters.h"
#include "Tests/Linux/SQLite/RawDatabase.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class CloudProcesses : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(cloud.saveZone(zoneOfClients, {})); }

  std::string integrity() { return RawDatabase(path).run("PRAGMA integrity_check"); }

  std::string numberOf(const std::string& name) {
    const auto changes = cloud.fetchChanges(zoneOfClients, std::nullopt, 100, {});
    for (const auto& record : changes->changed) {
      const auto* number = record.as<std::int64_t>("number");
      if (record.recordID().recordName == name && number != nullptr) return std::to_string(*number);
    }
    return "none";
  }

  TemporaryDirectory folder;
  std::filesystem::path path = folder / "Cloud.sqlite";
  SQLiteCloud cloud{path};
  CloudWriters writers{cloud, path};
};

TEST_F(CloudProcesses, nothingOfTwoWritersIsMissed) { writers.follow(2); }

TEST_F(CloudProcesses, nothingOfEightWritersIsMissed) { writers.follow(8); }

TEST_F(CloudProcesses, twoWritersLoseNoChangeOfEachOther) { writers.addToOneNumber(2); }

TEST_F(CloudProcesses, eightWritersLoseNoChangeOfEachOther) { writers.addToOneNumber(8); }

TEST_F(CloudProcesses, aKilledWriterLeavesAWholeBatchOrNothingOfIt) {
  std::mt19937 random(20261121);
  std::int64_t acknowledged = 0;
  int killedAtWork = 0;
  for (int kill = 0; kill < 100; ++kill) {
    ClientProcess writer("write-for-ever", path, cloudClient);
    const int wanted = std::uniform_int_distribution(0, 8)(random);
    for (int read = 0; read < wanted; ++read) {
      ASSERT_EQ(::read(writer.output(), &acknowledged, sizeof acknowledged),
                static_cast<ssize_t>(sizeof acknowledged));
    }
    const std::chrono::microseconds time(std::uniform_int_distribution(0, 3000)(random));
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
    writer.kill();
    const auto rest = writer.rest();
    ASSERT_EQ(rest.size() % sizeof acknowledged, 0U);
    if (!rest.empty()) {
      rest.copy(reinterpret_cast<char*>(&acknowledged), sizeof acknowledged,
                rest.size() - sizeof acknowledged);
    }
    killedAtWork += wanted > 0 ? 1 : 0;
    if (acknowledged == 0) continue;
    const auto number = std::stoll(numberOf("a"));
    ASSERT_EQ(numberOf("b"), std::to_string(number)) << "after kill " << kill;
    ASSERT_GE(number, acknowledged) << "after kill " << kill;
    ASSERT_LE(number, acknowledged + 1) << "after kill " << kill;
    ASSERT_EQ(integrity(), "ok") << "after kill " << kill;
    acknowledged = number;
  }
  EXPECT_GT(killedAtWork, 70);
  EXPECT_GT(acknowledged, 100);
}

TEST_F(CloudProcesses, aDiskThatTakesNoMoreIsAnErrorThatChangesNothing) {
  ClientProcess process("fill-disk", path, cloudClient);
  const auto report = process.rest();
  EXPECT_EQ(process.exitStatus(), 0);
  const auto code = std::to_string(static_cast<int>(CKErrorCode::serviceUnavailable));
  EXPECT_THAT(report, StartsWith(code + " true\n"));
  EXPECT_THAT(report, HasSubstr("(File too large)"));
  EXPECT_EQ(numberOf("before"), "none");
  EXPECT_EQ(numberOf("large"), "none");
  EXPECT_EQ(numberOf("after"), "1");
  EXPECT_EQ(integrity(), "ok");
}

TEST_F(CloudProcesses, aFileThatMayOnlyBeReadIsAnErrorThatChangesNothing) {
  // The client gives up the rights of the administrator, if it has them.
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  for (const auto* name : {"Cloud.doorbell", "Cloud.sqlite-wal", "Cloud.sqlite-shm"}) {
    ASSERT_EQ(::chmod((folder / name).c_str(), 0666), 0) << name;
  }
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  ClientProcess process("write-without-permission", path, cloudClient);
  const auto code = std::to_string(static_cast<int>(CKErrorCode::serviceUnavailable));
  EXPECT_EQ(process.rest(), code + " true\nCannot write '" + path.string() +
                                "': attempt to write a readonly database");
  EXPECT_EQ(process.exitStatus(), 0);
  EXPECT_EQ(numberOf("a"), "none");
}

TEST_F(CloudProcesses, aFileOfAnotherUserMayNotBeUsed) {
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  if (::geteuid() != 0) {
    ASSERT_EQ(::chmod((folder / "Cloud.doorbell").c_str(), 0), 0);
  }
  ClientProcess process("write-without-permission", path, cloudClient);
  const auto code = std::to_string(static_cast<int>(CKErrorCode::permissionFailure));
  EXPECT_THAT(process.rest(), StartsWith(code + " false\n"));
  EXPECT_EQ(process.exitStatus(), 0);
}

}  // namespace
}  // namespace orvane::test
