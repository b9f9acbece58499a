#include <chrono>
#include <random>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Tests/Linux/ClientProcess.h"
#include "Tests/Linux/SQLite/KeyValueExchange.h"
#include "Tests/Linux/SQLite/RawDatabase.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Dictionary = PropertyListValue::Dictionary;
using Transaction = KeyValueDatabase::Transaction;
using Value = std::optional<PropertyListValue>;

std::int64_t numberOf(const Value& value) {
  const auto* number = value ? value->as<std::int64_t>() : nullptr;
  return number == nullptr ? 0 : *number;
}

class KeyValueProcesses : public ::testing::Test {
 protected:
  std::string integrity() { return RawDatabase(path).run("PRAGMA integrity_check"); }

  TemporaryDirectory folder;
  std::filesystem::path path = folder / "d.sqlite";
  MainLoop loop;
};

TEST_F(KeyValueProcesses, eachOfAThousandValuesInBothDirectionsAtOnceIsToldExactlyOnce) {
  constexpr std::int64_t count = 1000;
  ClientProcess client("exchange", path);
  EXPECT_EQ(exchangeValues(path, "test", "client", count), count);
  EXPECT_EQ(client.rest(), std::to_string(count));
  EXPECT_EQ(client.exitStatus(), 0);
}

TEST_F(KeyValueProcesses, noIncrementOfTwoProcessesIsLost) {
  ClientProcess first("increment", path);
  ClientProcess second("increment", path);
  EXPECT_EQ(first.exitStatus(), 0);
  EXPECT_EQ(second.exitStatus(), 0);
  SQLiteKeyValueDatabase database(path, loop.queue);
  EXPECT_EQ(numberOf(*database.value("n")), 1000);
  EXPECT_EQ(database.changeCount("n")->count, 1000U);
}

/// Until a moment that differs from call to call, in the range of what a few writes take.
void spin(std::mt19937& random) {
  const std::chrono::microseconds time(std::uniform_int_distribution(0, 500)(random));
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) {
  }
}

TEST_F(KeyValueProcesses, aKilledWriterLeavesAValidDatabaseWithAllThatItAcknowledged) {
  std::mt19937 random(20261121);
  SQLiteKeyValueDatabase reader(path, loop.queue);
  ASSERT_TRUE(reader.open());
  std::int64_t acknowledged = 0;
  int killedAtWork = 0;
  for (int kill = 0; kill < 200; ++kill) {
    ClientProcess writer("add-for-ever", path);
    const int wanted = std::uniform_int_distribution(0, 8)(random);
    for (int read = 0; read < wanted; ++read) {
      ASSERT_EQ(::read(writer.output(), &acknowledged, sizeof acknowledged),
                static_cast<ssize_t>(sizeof acknowledged));
    }
    spin(random);
    writer.kill();
    const auto rest = writer.rest();
    ASSERT_EQ(rest.size() % sizeof acknowledged, 0U);
    if (!rest.empty()) {
      rest.copy(reinterpret_cast<char*>(&acknowledged), sizeof acknowledged,
                rest.size() - sizeof acknowledged);
    }
    killedAtWork += wanted > 0 ? 1 : 0;
    const auto number = numberOf(*reader.value("n"));
    ASSERT_GE(number, acknowledged) << "after kill " << kill;
    ASSERT_LE(number, acknowledged + 1) << "after kill " << kill;
    ASSERT_EQ(reader.changeCount("entries")->count, static_cast<std::uint64_t>(number));
    const auto entries = *reader.value("entries");
    ASSERT_EQ(entries ? entries->as<Dictionary>()->size() : 0, static_cast<std::size_t>(number));
    ASSERT_EQ(integrity(), "ok") << "after kill " << kill;
    acknowledged = number;
  }
  EXPECT_GT(killedAtWork, 150);
  EXPECT_GT(acknowledged, 200);
}

TEST_F(KeyValueProcesses, aCommitWhoseWriterDiedBeforeItRangIsNoticed) {
  SQLiteKeyValueDatabase database(path, loop.queue);
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  ASSERT_TRUE(defaults.setObject("1", "k"));
  int called = 0;
  const auto observation = defaults.addObserver("k", [&] { ++called; });
  loop.runUntilIdle();
  EXPECT_EQ(RawDatabase(path).run("UPDATE key SET count = count + 2 WHERE key = 'k'"), "");
  loop.runUntil([&] { return called > 0; });
  EXPECT_EQ(called, 2);
  EXPECT_EQ(RawDatabase(path).run("UPDATE key SET count = count + 1 WHERE key = 'k'"), "");
  loop.runUntil([&] { return called > 2; });
  EXPECT_EQ(called, 3);
}

TEST_F(KeyValueProcesses, aFullDiskIsAnErrorThatChangesNothing) {
  SQLiteKeyValueDatabase database(path, loop.queue);
  ASSERT_TRUE(database.transact(
      [](Transaction& transaction) { transaction.setValue("small", "as it was"); }));
  ClientProcess client("fill-disk", path);
  const auto report = client.rest();
  EXPECT_EQ(client.exitStatus(), 0);
  EXPECT_THAT(report, StartsWith(std::string("SQLite ") + std::to_string(SQLITE_IOERR_WRITE)));
  EXPECT_THAT(report, HasSubstr("Cannot write '" + path.string() + "': disk I/O error"));
  EXPECT_THAT(report, HasSubstr("(File too large)"));
  EXPECT_EQ(*database.value("small"), Value("as it was"));
  EXPECT_EQ(*database.value("large"), std::nullopt);
  EXPECT_EQ(database.changeCount("small")->count, 1U);
  EXPECT_EQ(*database.value("after"), Value(true));
  EXPECT_EQ(integrity(), "ok");
}

TEST_F(KeyValueProcesses, aFileThatMayOnlyBeReadIsAnErrorThatChangesNothing) {
  SQLiteKeyValueDatabase database(path, loop.queue);
  ASSERT_TRUE(
      database.transact([](Transaction& transaction) { transaction.setValue("k", "old"); }));
  // The client gives up the rights of the administrator, if it has them.
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  ASSERT_EQ(::chmod((folder / "d.doorbell").c_str(), 0666), 0);
  ASSERT_EQ(::chmod((folder / "d.sqlite-wal").c_str(), 0666), 0);
  ASSERT_EQ(::chmod((folder / "d.sqlite-shm").c_str(), 0666), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0777), 0);
  ClientProcess client("write-without-permission", path);
  EXPECT_EQ(client.rest(), "SQLite " + std::to_string(SQLITE_READONLY) + "\nCannot write '" +
                               path.string() + "': attempt to write a readonly database");
  EXPECT_EQ(client.exitStatus(), 0);
  EXPECT_EQ(*database.value("k"), Value("old"));
}

TEST_F(KeyValueProcesses, aFolderThatMayNotBeWrittenIsAClearError) {
  ASSERT_EQ(::chmod(folder.path().c_str(), 0555), 0);
  ClientProcess client("write-without-permission", path);
  EXPECT_THAT(client.rest(), HasSubstr("d.doorbell': Permission denied"));
  EXPECT_EQ(client.exitStatus(), 0);
  ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace orvane::test
