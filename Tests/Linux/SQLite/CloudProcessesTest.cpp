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
  writers.killAtWork(100, [&] { EXPECT_EQ(integrity(), "ok"); });
}

TEST_F(CloudProcesses, aDiskThatTakesNoMoreIsAnErrorThatChangesNothing) {
  ClientProcess process("fill-disk", path, cloudClient);
  const auto report = process.rest();
  EXPECT_EQ(process.exitStatus(), 0);
  const auto code = std::to_string(static_cast<int>(CKErrorCode::serviceUnavailable));
  EXPECT_THAT(report, StartsWith(code + " true\n"));
  EXPECT_THAT(report, HasSubstr("(File too large)"));
  EXPECT_EQ(writers.numberOf("before"), std::nullopt);
  EXPECT_EQ(writers.numberOf("large"), std::nullopt);
  EXPECT_EQ(writers.numberOf("after"), 1);
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
  EXPECT_EQ(writers.numberOf("a"), std::nullopt);
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
