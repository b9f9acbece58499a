#include <fstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/SQLite/SQLiteKeyValueDatabase.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Tests/Linux/SQLite/RawDatabase.h"
#include "Tests/Support/Files.h"
#include "Tests/Support/MainLoop.h"
#include "Tests/Support/RecordingOutput.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;
using Transaction = KeyValueDatabase::Transaction;
using Value = std::optional<PropertyListValue>;

class SQLiteKeyValueDatabaseTest : public ::testing::Test {
 protected:
  static Expected<void> set(KeyValueDatabase& database, std::string_view key, const Value& value) {
    return database.transact([&](Transaction& transaction) { transaction.setValue(key, value); });
  }

  /// What opening a file of these contents says; the file is to stay as it is.
  NSError refusalOf(const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
    SQLiteKeyValueDatabase refused(path, loop.queue);
    const auto opened = refused.open();
    const auto written = set(refused, "k", "v");
    EXPECT_FALSE(opened);
    EXPECT_FALSE(written);
    EXPECT_FALSE(refused.value("k"));
    EXPECT_EQ(contentsOf(path), contents);
    return opened ? NSError{} : opened.error();
  }

  /// The bytes of a database that these statements make.
  std::string databaseOf(const std::string& statements) {
    const auto other = folder / "other.sqlite";
    EXPECT_EQ(RawDatabase(other).run(statements), "");
    return contentsOf(other);
  }

  TemporaryDirectory folder;
  std::filesystem::path home = folder / "home";
  bool isMade = std::filesystem::create_directory(home);
  std::filesystem::path path = home / "d.sqlite";
  MainLoop loop;
  SQLiteKeyValueDatabase database{path, loop.queue};
};

TEST_F(SQLiteKeyValueDatabaseTest, itsFilesAreForTheUserAlone) {
  const auto before = ::umask(0);
  ASSERT_TRUE(set(database, "k", "v"));
  ::umask(before);
  EXPECT_EQ(modeOf(path), 0600U);
  EXPECT_EQ(modeOf(home / "d.sqlite-wal"), 0600U);
  EXPECT_EQ(modeOf(home / "d.sqlite-shm"), 0600U);
  EXPECT_EQ(modeOf(home / "d.doorbell"), 0600U);
}

TEST_F(SQLiteKeyValueDatabaseTest, aPathWithUnusualCharactersIsTakenAsItIs) {
  const auto unusual = home / "100% a?b#c&d=é.sqlite";
  SQLiteKeyValueDatabase named(unusual, loop.queue);
  ASSERT_TRUE(set(named, "k", "v"));
  EXPECT_TRUE(std::filesystem::exists(unusual));
  EXPECT_EQ(modeOf(unusual), 0600U);
}

TEST_F(SQLiteKeyValueDatabaseTest, nothingIsMadeBeforeTheFirstUse) {
  EXPECT_TRUE(std::filesystem::is_empty(home));
  EXPECT_TRUE(database.open());
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(SQLiteKeyValueDatabaseTest, valuesSurviveTheConnection) {
  {
    SQLiteKeyValueDatabase shortLived(path, loop.queue);
    ASSERT_TRUE(set(shortLived, "k", "v"));
  }
  EXPECT_EQ(*database.value("k"), Value("v"));
  EXPECT_EQ(database.changeCount("k")->count, 1U);
}

TEST_F(SQLiteKeyValueDatabaseTest, theLastConnectionLeavesNothingInTheLog) {
  {
    SQLiteKeyValueDatabase last(path, loop.queue);
    ASSERT_TRUE(set(last, "k", "v"));
    EXPECT_GT(std::filesystem::file_size(home / "d.sqlite-wal"), 0U);
  }
  // A copy put in the place of the file does not meet the log of the one before.
  EXPECT_EQ(std::filesystem::file_size(home / "d.sqlite-wal"), 0U);
}

TEST_F(SQLiteKeyValueDatabaseTest, anEqualValueIsNotWrittenAndRingsNoBell) {
  ASSERT_TRUE(set(database, "k", "v"));
  const auto bell = home / "d.doorbell";
  const auto log = home / "d.sqlite-wal";
  std::filesystem::last_write_time(bell, std::filesystem::file_time_type{});
  const auto size = std::filesystem::file_size(log);
  ASSERT_TRUE(set(database, "k", "v"));
  EXPECT_EQ(std::filesystem::last_write_time(bell), std::filesystem::file_time_type{});
  EXPECT_EQ(std::filesystem::file_size(log), size);
  ASSERT_TRUE(set(database, "k", "another"));
  EXPECT_NE(std::filesystem::last_write_time(bell), std::filesystem::file_time_type{});
  EXPECT_GT(std::filesystem::file_size(log), size);
}

TEST_F(SQLiteKeyValueDatabaseTest, textThatCannotBeKeptFailsTheWholeTransaction) {
  const std::string cut("a\0b", 3);
  ASSERT_TRUE(set(database, "k", "old"));
  const std::vector<std::function<void(Transaction&)>> edits{
      [&](Transaction& transaction) { transaction.setValue("bad", cut); },
      [&](Transaction& transaction) {
        transaction.setValue("bad", Dictionary{{cut, "v"}});
      },
      [&](Transaction& transaction) {
        transaction.setValue("bad", Dictionary{{"e", cut}});
      },
      [&](Transaction& transaction) { transaction.setEntry("bad", cut, "v"); },
      [&](Transaction& transaction) { transaction.setEntry("bad", "e", cut); },
      [&](Transaction& transaction) { transaction.setEntry(cut, "e", "v"); },
      [&](Transaction& transaction) { transaction.setValue(cut, "v"); }};
  for (const auto& edit : edits) {
    const auto result = database.transact([&](Transaction& transaction) {
      transaction.setValue("k", "new");
      edit(transaction);
      transaction.setValue("k", "newer");
      EXPECT_EQ(transaction.value("k"), std::nullopt) << "it does nothing more after an error";
    });
    ASSERT_FALSE(result);
    EXPECT_THAT(result.error().localizedDescription, HasSubstr("kept"));
    EXPECT_EQ(*database.value("k"), Value("old"));
    EXPECT_EQ(*database.value("bad"), std::nullopt);
    EXPECT_EQ(database.changeCount("k")->count, 1U);
    EXPECT_EQ(database.changeCount("bad")->count, 0U);
  }
}

TEST_F(SQLiteKeyValueDatabaseTest, theErrorOfTextThatCannotBeKeptNamesTheKey) {
  const std::string cut("a\0b", 3);
  const auto errorOf = [&](const std::function<void(Transaction&)>& edit) {
    return database.transact(edit).error().localizedDescription;
  };
  EXPECT_EQ(errorOf([&](Transaction& transaction) { transaction.setValue("bad", cut); }),
            "Cannot set 'bad': A text with a zero byte or that is not UTF-8 cannot be kept");
  EXPECT_EQ(errorOf([&](Transaction& transaction) { transaction.setEntry("bad", cut, "v"); }),
            "Cannot set 'bad': A key or name is not text that can be kept");
  EXPECT_EQ(errorOf([&](Transaction& transaction) { transaction.setValue(cut, "v"); }),
            "A key or name is not text that can be kept");
}

TEST_F(SQLiteKeyValueDatabaseTest, anExceptionPassesThroughAndNothingHasChanged) {
  ASSERT_TRUE(set(database, "k", "old"));
  const auto edit = [](Transaction& transaction) {
    transaction.setValue("k", "new");
    throw std::runtime_error("changed its mind");
  };
  EXPECT_THROW(static_cast<void>(database.transact(edit)), std::runtime_error);
  EXPECT_EQ(*database.value("k"), Value("old"));
  EXPECT_TRUE(set(database, "k", "new"));
}

TEST_F(SQLiteKeyValueDatabaseTest, entriesOfATransactionThatFailedAreForgotten) {
  ASSERT_TRUE(set(database, "d", Dictionary{{"a", "old"}}));
  std::shared_ptr<const KeyValueEntries> kept;
  EXPECT_FALSE(database.transact([&](KeyValueDatabase::Transaction& transaction) {
    transaction.setEntry("d", "a", "undone");
    kept = transaction.entries("d");
    transaction.setEntry("d", "b", "\xFF");
  }));
  EXPECT_EQ(kept->value("a"), Value("undone"));
  ASSERT_TRUE(set(database, "d", Dictionary{{"a", "new"}}));
  ASSERT_TRUE(database.transact([](KeyValueDatabase::Transaction& transaction) {
    EXPECT_EQ(transaction.entries("d")->value("a"), Value("new"));
  }));
}

TEST_F(SQLiteKeyValueDatabaseTest, aDamagedValueIsAbsentAndCanBeReplaced) {
  ASSERT_TRUE(set(database, "k", "v"));
  ASSERT_TRUE(set(database, "d", Dictionary{{"good", "v"}, {"bad", "v"}}));
  RawDatabase raw(path);
  ASSERT_EQ(raw.run("UPDATE key SET value = x'FFFFFF' WHERE key = 'k'"), "");
  ASSERT_EQ(raw.run("UPDATE entry SET value = x'FFFFFF' WHERE name = 'bad'"), "");
  EXPECT_EQ(*database.value("k"), std::nullopt);
  EXPECT_EQ(*database.value("d"), Value(Dictionary{{"good", "v"}}));
  EXPECT_EQ(*database.entry("d", "bad"), std::nullopt);
  ASSERT_TRUE(database.transact([](KeyValueDatabase::Transaction& transaction) {
    EXPECT_EQ(transaction.entries("d")->value("bad"), std::nullopt);
    EXPECT_EQ(transaction.entries("d")->value("good"), Value("v"));
  }));
  ASSERT_TRUE(set(database, "k", "v"));
  EXPECT_EQ(*database.value("k"), Value("v"));
}

TEST_F(SQLiteKeyValueDatabaseTest, aFileThatIsNoDatabaseIsRefusedAndLeftAlone) {
  const auto error = refusalOf(std::string(5000, 'x'));
  EXPECT_EQ(error.domain, "SQLite");
  EXPECT_EQ(error.code, SQLITE_NOTADB);
  EXPECT_EQ(error.localizedDescription,
            "Cannot read '" + path.string() + "': file is not a database");
}

TEST_F(SQLiteKeyValueDatabaseTest, aDamagedDatabaseIsRefusedAndLeftAlone) {
  {
    SQLiteKeyValueDatabase whole(path, loop.queue);
    ASSERT_TRUE(set(whole, "k", "v"));
  }
  auto contents = contentsOf(path);
  // The page of the schema, behind the header.
  contents.replace(100, 1000, std::string(1000, '\xEE'));
  const auto error = refusalOf(contents);
  EXPECT_EQ(error.code & 0xFF, SQLITE_CORRUPT);
  EXPECT_THAT(error.localizedDescription, AllOf(HasSubstr(path.string()), HasSubstr("malformed")));
}

TEST_F(SQLiteKeyValueDatabaseTest, aDatabaseOfAnotherProgramIsRefusedAndLeftAlone) {
  const auto error = refusalOf(databaseOf("CREATE TABLE theirs (a)"));
  EXPECT_EQ(error.localizedDescription,
            "Cannot open '" + path.string() + "': it is another program's database");
}

TEST_F(SQLiteKeyValueDatabaseTest, aDatabaseOfANewerVersionIsRefusedAndLeftAlone) {
  const auto error =
      refusalOf(databaseOf("PRAGMA application_id = 0x4F727661; PRAGMA user_version = 2"));
  EXPECT_EQ(error.localizedDescription,
            "Cannot open '" + path.string() + "': it is of a newer version");
}

TEST_F(SQLiteKeyValueDatabaseTest, aFolderInThePlaceOfTheFileIsAClearError) {
  std::filesystem::create_directory(path);
  const auto opened = database.open();
  ASSERT_FALSE(opened);
  EXPECT_EQ(opened.error().code & 0xFF, SQLITE_CANTOPEN);
  EXPECT_THAT(opened.error().localizedDescription, HasSubstr("Cannot open '" + path.string()));
}

TEST_F(SQLiteKeyValueDatabaseTest, anotherFileInItsPlaceIsOpenedAndIsAForeignChange) {
  ASSERT_TRUE(set(database, "k", "first"));
  const auto version = *database.foreignVersion();
  std::filesystem::rename(home, folder / "away");
  std::filesystem::create_directory(home);
  {
    SQLiteKeyValueDatabase another(path, loop.queue);
    ASSERT_TRUE(set(another, "k", "second"));
  }
  EXPECT_EQ(*database.value("k"), Value("second"));
  EXPECT_NE(*database.foreignVersion(), version);
  ASSERT_TRUE(set(database, "k", "third"));
  SQLiteKeyValueDatabase away(folder.path() / "away" / "d.sqlite", loop.queue);
  EXPECT_EQ(*away.value("k"), Value("first"));
}

TEST_F(SQLiteKeyValueDatabaseTest, aFileThatWasRemovedIsMadeAnew) {
  ASSERT_TRUE(set(database, "k", "v"));
  for (const auto* name : {"d.sqlite", "d.sqlite-wal", "d.sqlite-shm"}) {
    std::filesystem::remove(home / name);
  }
  EXPECT_EQ(*database.value("k"), std::nullopt);
  EXPECT_TRUE(set(database, "k", "v"));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(SQLiteKeyValueDatabaseTest, whileItsFolderIsAwayEveryOperationIsAClearError) {
  ASSERT_TRUE(set(database, "k", "v"));
  std::filesystem::rename(home, folder / "away");
  const auto error = database.value("k").error();
  EXPECT_THAT(error.localizedDescription,
              AllOf(HasSubstr(home.string()), HasSubstr("No such file or directory")));
  EXPECT_EQ(database.entry("k", "e").error(), error);
  EXPECT_EQ(set(database, "k", "v").error(), error);
  EXPECT_EQ(database.changeCount("k").error(), error);
  EXPECT_EQ(database.foreignVersion().error(), error);
  EXPECT_EQ(database.synchronize().error(), error);
  EXPECT_FALSE(std::filesystem::exists(home));

  std::filesystem::rename(folder / "away", home);
  EXPECT_EQ(*database.value("k"), Value("v"));
  EXPECT_TRUE(set(database, "k", "new"));
}

TEST_F(SQLiteKeyValueDatabaseTest, anObserverHearsOfChangesInAFolderThatWentAndCameBack) {
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  int called = 0;
  const auto observation = defaults.addObserver("k", [&] { ++called; });
  std::filesystem::rename(home, folder / "away");
  std::filesystem::create_directory(home);
  SQLiteKeyValueDatabase another(path, loop.queue);
  ASSERT_TRUE(set(another, "k", "1"));
  loop.runUntil([&] { return called == 1; });
  ASSERT_TRUE(set(another, "k", "2"));
  loop.runUntil([&] { return called == 2; });
}

TEST_F(SQLiteKeyValueDatabaseTest, anObserverHearsOfAFileThatCountsAsMuchAsTheOneBefore) {
  ASSERT_TRUE(set(database, "k", "first"));
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  int called = 0;
  const auto observation = defaults.addObserver("k", [&] { ++called; });
  loop.runUntilIdle();
  ASSERT_EQ(called, 0);
  std::filesystem::remove_all(home);
  std::filesystem::create_directory(home);
  SQLiteKeyValueDatabase another(path, loop.queue);
  ASSERT_TRUE(set(another, "k", "second"));
  ASSERT_EQ(another.changeCount("k")->count, 1U);
  loop.runUntil([&] { return called > 0; });
  EXPECT_EQ(called, 1);
  ASSERT_TRUE(set(another, "k", "third"));
  loop.runUntil([&] { return called > 1; });
  EXPECT_EQ(called, 2);
}

TEST_F(SQLiteKeyValueDatabaseTest, theBellIsHeardInAFolderThatTookThePlaceOfAnother) {
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  int called = 0;
  const auto observation = defaults.addObserver("k", [&] { ++called; });
  std::filesystem::rename(home, folder / "away");
  std::filesystem::create_directory(home);
  SQLiteKeyValueDatabase another(path, loop.queue);
  ASSERT_TRUE(set(another, "k", "1"));
  loop.runUntil([&] { return called == 1; });
  // The look that noticed the folder was a moment ago, and the next one is half a second away; of
  // ten changes one may fall on a look, but not all.
  int soon = 0;
  for (std::int64_t value = 2; value < 12; ++value) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(set(another, "k", value));
    loop.runUntil([&] { return called == value; });
    const auto time = std::chrono::steady_clock::now() - start;
    soon += time < std::chrono::milliseconds(250) ? 1 : 0;
  }
  EXPECT_GE(soon, 8);
}

TEST_F(SQLiteKeyValueDatabaseTest, listeningBeforeThereIsAFolderHearsOfWhatComes) {
  std::filesystem::remove(home);
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  int called = 0;
  const auto observation = defaults.addObserver("k", [&] { ++called; });
  EXPECT_EQ(log.take().size(), 1U);
  std::filesystem::create_directory(home);
  SQLiteKeyValueDatabase another(path, loop.queue);
  ASSERT_TRUE(set(another, "k", "1"));
  loop.runUntil([&] { return called == 1; });
}

/// Opening the file locks the doorbell, which must not ring by that.
TEST_F(SQLiteKeyValueDatabaseTest, aDatabaseThatCannotBeOpenedDoesNotKeepItsListenerBusy) {
  std::ofstream(path) << std::string(5000, 'x');
  RecordingOutput log;
  NSUserDefaults defaults(database, log);
  const auto observation = defaults.addObserver("k", [] { FAIL() << "nothing has changed"; });
  SQLiteKeyValueDatabase another(path, loop.queue);
  int told = 0;
  another.setListener([&] {
    ++told;
    EXPECT_FALSE(another.value("k"));
  });
  std::ofstream(home / "d.doorbell") << "!";
  bool isOver = false;
  // Time for two of the looks that a listener takes by itself.
  loop.queue.postAfter(std::chrono::milliseconds(1200), [&] { isOver = true; });
  loop.runUntil([&] { return isOver; });
  EXPECT_GE(told, 1);
  EXPECT_LE(told, 3);
  EXPECT_EQ(log.take().size(), 1U);
}

TEST_F(SQLiteKeyValueDatabaseTest, severalThreadsOfSeveralConnectionsLoseNoIncrement) {
  constexpr int threadCount = 4;
  constexpr int rounds = 100;
  SQLiteKeyValueDatabase another(path, loop.queue);
  int told = 0;
  database.setListener([&] { ++told; });
  std::vector<std::thread> threads;
  threads.reserve(threadCount);
  for (int thread = 0; thread < threadCount; ++thread) {
    threads.emplace_back([&, thread] {
      auto& own = thread % 2 == 0 ? database : another;
      for (int round = 0; round < rounds; ++round) {
        const auto result = own.transact([](Transaction& transaction) {
          const auto value = transaction.value("n");
          const auto* number = value ? value->as<std::int64_t>() : nullptr;
          transaction.setValue("n", (number == nullptr ? 0 : *number) + 1);
        });
        ASSERT_TRUE(result) << result.error().localizedDescription;
        ASSERT_TRUE(own.value("n"));
      }
    });
  }
  loop.runUntil([&] { return database.changeCount("n")->count == threadCount * rounds; });
  for (auto& thread : threads) thread.join();
  loop.runUntil([&] { return told > 0; });
  EXPECT_EQ(*another.value("n"), Value(std::int64_t{threadCount * rounds}));
}

}  // namespace
}  // namespace orvane::test
