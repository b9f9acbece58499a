#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "Linux/SQLite/SQLiteCloud.h"
#include "Tests/Linux/SQLite/RawDatabase.h"
#include "Tests/Support/Files.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::Ge;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;
using Changes = CloudKeyValueChanges;
using Clock = std::chrono::steady_clock;
using Code = CKErrorCode;
using Kind = CloudEvent::Kind;
using Strings = std::vector<std::string>;

const CKRecordZoneID zoneID{"Zone"};
const CloudCall call;
constexpr std::size_t pageSize = 100;

CKRecordID idOf(const std::string& name) { return {name, zoneID}; }

CKRecord newRecord(const std::string& name, const CKRecordValue& value = true) {
  CKRecord record("Rule", idOf(name));
  record.setValue("value", value);
  return record;
}

/// The events that a listener was called with.
class Events {
 public:
  void add(const CloudEvent& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    arrived_.notify_all();
  }
  std::function<void(const CloudEvent&)> listener() {
    return [this](const CloudEvent& event) { add(event); };
  }
  /// Takes what has come up to the first such event; false when none comes.
  bool waitFor(Kind kind, const std::string& subscriptionID = "") {
    std::unique_lock lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::seconds(20), [&] {
      while (!events_.empty()) {
        const auto event = events_.front();
        events_.erase(events_.begin());
        if (event.kind == kind && event.subscriptionID == subscriptionID) return true;
      }
      return false;
    });
  }
  std::size_t count() {
    const std::lock_guard lock(mutex_);
    return events_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::vector<CloudEvent> events_;
};

class SQLiteCloudTest : public ::testing::Test {
 protected:
  static CKResult<CloudBatchResult> save(CloudBackend& cloud, std::vector<CKRecord> records,
                                         std::vector<CKRecordID> deletions = {}) {
    return cloud.modifyRecords({zoneID, std::move(records), std::move(deletions)}, call);
  }
  static CKResult<CloudChanges> fetch(
      CloudBackend& cloud, const std::optional<CKServerChangeToken>& token = std::nullopt) {
    return cloud.fetchChanges(zoneID, token, pageSize, call);
  }
  static Code codeOf(const tl::expected<CKAccountStatus, CKError>& result) {
    return result ? Code::internalError : result.error().code;
  }

  /// What every call on a file of these contents says; the file is to stay as it is.
  CKError refusalOf(const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
    SQLiteCloud refused(path);
    const auto status = refused.accountStatus(call);
    EXPECT_EQ(refused.saveZone(zoneID, call).error().code, Code::badContainer);
    EXPECT_EQ(fetch(refused).error().code, Code::badContainer);
    EXPECT_EQ(refused.exchangeKeyValues({{"k", true}}, std::nullopt, call).error().code,
              Code::badContainer);
    EXPECT_EQ(contentsOf(path), contents);
    return status ? CKError{} : status.error();
  }

  std::string databaseOf(const std::string& statements) {
    const auto file = folder / "other.sqlite";
    EXPECT_EQ(RawDatabase(file).run(statements), "");
    return contentsOf(file);
  }

  TemporaryDirectory folder;
  std::filesystem::path home = folder / "home";
  bool isMade = std::filesystem::create_directory(home);
  std::filesystem::path path = home / "Cloud.sqlite";
  SQLiteCloud cloud{path};
  SQLiteCloud other{path};
};

TEST_F(SQLiteCloudTest, itsFilesAreMadeAtTheFirstUseAndForTheUserAlone) {
  EXPECT_TRUE(std::filesystem::is_empty(home));
  const auto before = ::umask(0);
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ::umask(before);
  for (const auto* name :
       {"Cloud.sqlite", "Cloud.sqlite-wal", "Cloud.sqlite-shm", "Cloud.doorbell"}) {
    EXPECT_EQ(modeOf(home / name), 0600U) << name;
  }
}

TEST_F(SQLiteCloudTest, theAccountIsThereWhenTheFileCanBeOpened) {
  EXPECT_EQ(*cloud.accountStatus(call), CKAccountStatus::available);
}

TEST_F(SQLiteCloudTest, withoutItsFolderThereIsNoCloud) {
  SQLiteCloud absent(folder.path() / "absent" / "Cloud.sqlite");
  EXPECT_EQ(codeOf(absent.accountStatus(call)), Code::badContainer);
  EXPECT_FALSE(std::filesystem::exists(folder / "absent"));
}

TEST_F(SQLiteCloudTest, whatWasSavedOutlivesTheConnection) {
  {
    SQLiteCloud shortLived(path);
    ASSERT_TRUE(shortLived.saveZone(zoneID, call));
    ASSERT_TRUE(save(shortLived, {newRecord("a")}));
    ASSERT_TRUE(shortLived.exchangeKeyValues({{"k", "v"}}, std::nullopt, call));
  }
  EXPECT_THAT(fetch(cloud)->changed, SizeIs(1));
  EXPECT_EQ(cloud.exchangeKeyValues({}, std::nullopt, call)->changes, (Changes{{"k", "v"}}));
}

TEST_F(SQLiteCloudTest, anErrorOfABatchLeavesNothingOfIt) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("kept"), newRecord("taken")}));
  const auto token = fetch(cloud)->token;
  auto gone = CKRecord("Rule", idOf("gone"), "1", {});
  gone.setValue("value", CKRecordValue(true));
  const auto result =
      save(cloud, {newRecord("new"), newRecord("taken"), gone}, {idOf("kept"), idOf("absent")});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code, Code::partialFailure);
  const auto& items = result.error().partialErrorsByItemID;
  ASSERT_THAT(items, SizeIs(2)) << "an entry for each that conflicts and no other";
  EXPECT_EQ(items[0].itemID, CKItemID(idOf("taken")));
  EXPECT_EQ(items[0].error.code, Code::serverRecordChanged);
  EXPECT_EQ(*items[0].error.serverRecord, fetch(cloud)->changed.at(1));
  EXPECT_EQ(items[0].error.clientRecord, nullptr);
  EXPECT_EQ(items[1].itemID, CKItemID(idOf("gone")));
  EXPECT_EQ(items[1].error.code, Code::unknownItem);
  const auto after = fetch(cloud, token);
  EXPECT_THAT(after->changed, IsEmpty());
  EXPECT_THAT(after->deleted, IsEmpty());
  EXPECT_EQ(after->token, token);
}

TEST_F(SQLiteCloudTest, anErrorThatIsFoundWhileWritingLeavesNothingOfTheBatch) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  const auto result = save(cloud, {newRecord("a"), newRecord("bad", std::string("\xFF"))});
  EXPECT_EQ(result.error().code, Code::invalidArguments);
  EXPECT_THAT(fetch(cloud)->changed, IsEmpty());
  EXPECT_EQ(cloud.exchangeKeyValues({{"a", true}, {"b", std::string("\xFF")}}, std::nullopt, call)
                .error()
                .code,
            Code::invalidArguments);
  EXPECT_THAT(cloud.exchangeKeyValues({}, std::nullopt, call)->changes, IsEmpty());
}

TEST_F(SQLiteCloudTest, deletionsSayWhatWasNotThere) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  EXPECT_EQ(save(cloud, {}, {idOf("b"), idOf("a")})->unknownIDs, std::vector{idOf("b")});
  EXPECT_EQ(save(cloud, {}, {idOf("a")})->unknownIDs, std::vector{idOf("a")});
}

TEST_F(SQLiteCloudTest, changesComeInTheOrderInWhichTheyWereLastSaved) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  const auto tags = save(cloud, {newRecord("c"), newRecord("a"), newRecord("b")})->changeTags;
  CKRecord again("Rule", idOf("c"), tags.at(0), {});
  again.setValue("value", CKRecordValue("again"));
  ASSERT_TRUE(save(cloud, {again}));
  Strings names;
  const auto changes = fetch(cloud);
  for (const auto& record : changes->changed) names.push_back(record.recordID().recordName);
  EXPECT_EQ(names, (Strings{"a", "b", "c"}));
}

TEST_F(SQLiteCloudTest, aDeletionHasTheTypeOfTheRecord) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  const auto token = fetch(cloud)->token;
  ASSERT_TRUE(save(cloud, {}, {idOf("a")}));
  const auto changes = fetch(cloud, token);
  ASSERT_THAT(changes->deleted, SizeIs(1));
  EXPECT_EQ(changes->deleted[0].recordID, idOf("a"));
  EXPECT_EQ(changes->deleted[0].recordType, "Rule");
}

TEST_F(SQLiteCloudTest, aRecordThatIsSavedAgainAfterItsDeletionHasNothingOfTheOneBefore) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  auto record = newRecord("a");
  record.setValue("more", CKRecordValue(true));
  ASSERT_TRUE(save(cloud, {record}));
  ASSERT_TRUE(save(cloud, {}, {idOf("a")}));
  const auto tags = save(cloud, {newRecord("a", "new")})->changeTags;
  const auto changes = fetch(cloud);
  ASSERT_THAT(changes->changed, SizeIs(1));
  EXPECT_EQ(changes->changed[0],
            CKRecord("Rule", idOf("a"), tags.at(0), {{"value", std::string("new")}}));
  EXPECT_THAT(changes->deleted, IsEmpty());
}

TEST_F(SQLiteCloudTest, aTagOfAZoneThatWasDeletedIsNoTagOfTheNextOne) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  const auto old = newRecord("a").savedWithChangeTag(save(cloud, {newRecord("a")})->changeTags[0]);
  ASSERT_TRUE(cloud.deleteZone(zoneID, call));
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a", "another")}));
  const auto result = save(cloud, {old});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().partialErrorsByItemID.at(0).error.code, Code::serverRecordChanged);
}

TEST_F(SQLiteCloudTest, aTokenFromBehindTheEndCountsAsNone) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  const auto token = fetch(cloud)->token;
  for (const auto& value :
       {std::to_string(std::stoll(token.value) + 1), token.value + " ", "-" + token.value,
        std::string("99999999999999999999"), std::string("0")}) {
    EXPECT_THAT(fetch(cloud, CKServerChangeToken{value})->changed, SizeIs(1)) << value;
    EXPECT_TRUE(cloud.exchangeKeyValues({}, CKServerChangeToken{value}, call)) << value;
  }
}

TEST_F(SQLiteCloudTest, anySequenceOfChangesOfARecordComesBack) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {CKRecord("Rule", idOf("a"))}));
  auto record = fetch(cloud)->changed.at(0);
  EXPECT_TRUE(rc::check([&] {
    const auto keys = rc::gen::element<std::string>("a", "\"é\\", "");
    const auto values = rc::gen::element<CKRecord::Value>(
        std::nullopt, CKRecordValue(true), CKRecordValue(false), CKRecordValue(INT64_MIN),
        CKRecordValue(INT64_MAX), CKRecordValue(""), CKRecordValue("\x01\"'\\ 𝄞"),
        CKRecordValue(Strings{}), CKRecordValue(Strings{"null", ""}),
        CKRecordValue(CKReference{idOf("one")}), CKRecordValue(CKReference{{"two", {"Other"}}}));
    const auto edits = *rc::gen::container<std::vector<std::pair<std::string, CKRecord::Value>>>(
        rc::gen::pair(keys, values));
    for (const auto& [key, value] : edits) record.setValue(key, value);
    const auto result = save(cloud, {record});
    RC_ASSERT(result.has_value());
    record = record.savedWithChangeTag(result->changeTags.at(0));
    const auto fetched = fetch(other)->changed;
    RC_ASSERT((fetched.size() == 1 && fetched[0] == record));
  }));
}

TEST_F(SQLiteCloudTest, aDuplicateSubscriptionNamesTheOneThatIsThere) {
  EXPECT_EQ(cloud.saveSubscription({"s", zoneID}, call).error().code, Code::zoneNotFound);
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"first", zoneID}, call));
  for (const auto* id : {"first", "second"}) {
    const auto result = other.saveSubscription({id, zoneID}, call);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, Code::serverRejectedRequest);
    EXPECT_THAT(result.error().localizedDescription, EndsWith("duplicate of first"));
  }
  ASSERT_TRUE(cloud.deleteZone(zoneID, call));
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  EXPECT_TRUE(cloud.saveSubscription({"second", zoneID}, call));
}

TEST_F(SQLiteCloudTest, publicRecordsAreAddedOnce) {
  ASSERT_TRUE(cloud.addPublicRecord(newRecord("report", "first"), call));
  ASSERT_TRUE(cloud.addPublicRecord(newRecord("report", "second"), call));
  RawDatabase raw(path);
  EXPECT_EQ(raw.run("SELECT count(*) FROM public_record"), "1");
  EXPECT_EQ(raw.run("SELECT name || ' ' || type || ' ' || fields FROM public_record"),
            R"(report Rule {"value":"first"})");
}

TEST_F(SQLiteCloudTest, aFullKeyValueStoreKeepsWhatItHas) {
  ASSERT_TRUE(cloud.exchangeKeyValues({{"k", "old"}}, std::nullopt, call));
  // With its quotation marks and its key this text is one byte too much.
  const auto tooLong = cloud.exchangeKeyValues({{"k", std::string(999'998, 'x')}}, {}, call);
  EXPECT_EQ(tooLong.error().code, Code::quotaExceeded);
  EXPECT_EQ(cloud.exchangeKeyValues({}, std::nullopt, call)->changes, (Changes{{"k", "old"}}));
  EXPECT_TRUE(cloud.exchangeKeyValues({{"k", std::string(999'997, 'x')}}, {}, call));
}

TEST_F(SQLiteCloudTest, aCallWaitsForAnotherWriterAndThenSaysThatItIsBusy) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  RawDatabase raw(path);
  ASSERT_EQ(raw.run("BEGIN IMMEDIATE"), "");
  EXPECT_TRUE(fetch(cloud)) << "who reads does not wait";
  const auto start = Clock::now();
  const auto result = save(cloud, {newRecord("a")});
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(9900));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code, Code::zoneBusy);
  EXPECT_THAT(result.error().retryAfter.value_or(0), AllOf(Ge(0.05), Le(1)));
  ASSERT_EQ(raw.run("ROLLBACK"), "");
  EXPECT_TRUE(save(cloud, {newRecord("a")}));
}

TEST_F(SQLiteCloudTest, aCallThatWaitsIsCancelledSoon) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  RawDatabase raw(path);
  ASSERT_EQ(raw.run("BEGIN IMMEDIATE"), "");
  int asked = 0;
  auto last = Clock::now();
  auto longest = Clock::duration::zero();
  const CloudCall cancelled{[&] {
    longest = std::max(longest, Clock::now() - std::exchange(last, Clock::now()));
    return ++asked > 30;
  }};
  const auto result = cloud.modifyRecords({zoneID, {newRecord("a")}, {}}, cancelled);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code, Code::operationCancelled);
  EXPECT_LT(longest, std::chrono::milliseconds(500)) << "about every 50 ms";
  ASSERT_EQ(raw.run("ROLLBACK"), "");
  EXPECT_THAT(fetch(cloud)->changed, IsEmpty());
}

TEST_F(SQLiteCloudTest, aCallThatHasToMakeTheTablesIsCancelledToo) {
  RawDatabase raw(path);
  ASSERT_EQ(raw.run("BEGIN EXCLUSIVE"), "");
  int asked = 0;
  const CloudCall cancelled{[&] { return ++asked > 3; }};
  EXPECT_EQ(cloud.saveZone(zoneID, cancelled).error().code, Code::operationCancelled);
  ASSERT_EQ(raw.run("ROLLBACK"), "");
  EXPECT_TRUE(cloud.saveZone(zoneID, call));
}

TEST_F(SQLiteCloudTest, aCallThatWasCancelledBeforeDoesNothing) {
  const CloudCall cancelled{[] { return true; }};
  EXPECT_EQ(cloud.saveZone(zoneID, cancelled).error().code, Code::operationCancelled);
  EXPECT_EQ(fetch(cloud).error().code, Code::zoneNotFound);
}

TEST_F(SQLiteCloudTest, aFileThatIsNoDatabaseIsRefusedAndLeftAlone) {
  const auto error = refusalOf(std::string(5000, 'x'));
  EXPECT_EQ(error.code, Code::badContainer);
  EXPECT_EQ(error.localizedDescription,
            "Cannot read '" + path.string() + "': file is not a database");
}

TEST_F(SQLiteCloudTest, aDamagedFileIsRefusedAndLeftAlone) {
  {
    SQLiteCloud whole(path);
    ASSERT_TRUE(whole.saveZone(zoneID, call));
  }
  auto contents = contentsOf(path);
  contents.replace(100, 1000, std::string(1000, '\xEE'));
  EXPECT_THAT(refusalOf(contents).localizedDescription, HasSubstr("malformed"));
}

TEST_F(SQLiteCloudTest, aFileOfAnotherProgramIsRefusedAndLeftAlone) {
  EXPECT_THAT(refusalOf(databaseOf("CREATE TABLE theirs (a)")).localizedDescription,
              EndsWith("it is another program's database"));
}

TEST_F(SQLiteCloudTest, aFileOfANewerVersionIsRefusedAndLeftAlone) {
  EXPECT_THAT(refusalOf(databaseOf("PRAGMA application_id = 0x4F727643; PRAGMA user_version = 2"))
                  .localizedDescription,
              EndsWith("it is of a newer version"));
}

TEST_F(SQLiteCloudTest, aFileWithoutOneOfTheTablesIsRefused) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_EQ(RawDatabase(path).run("DROP TABLE subscription"), "");
  SQLiteCloud refused(path);
  EXPECT_EQ(codeOf(refused.accountStatus(call)), Code::badContainer);
}

TEST_F(SQLiteCloudTest, aRecordThatCannotBeReadIsAnErrorThatNamesIt) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  ASSERT_EQ(RawDatabase(path).run("UPDATE record SET fields = '{'"), "");
  const auto result = fetch(cloud);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code, Code::badContainer);
  EXPECT_THAT(result.error().localizedDescription, HasSubstr("the record “a” of"));
}

TEST_F(SQLiteCloudTest, aFolderInThePlaceOfTheFileIsAnErrorUntilItIsAway) {
  std::filesystem::create_directory(path);
  EXPECT_EQ(codeOf(cloud.accountStatus(call)), Code::serviceUnavailable);
  std::filesystem::remove(path);
  EXPECT_TRUE(cloud.accountStatus(call));
}

TEST_F(SQLiteCloudTest, anotherFileInItsPlaceIsAnotherCloud) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  const auto token = fetch(cloud)->token;
  const auto keyValues = cloud.exchangeKeyValues({{"k", "old"}}, std::nullopt, call)->token;
  std::filesystem::rename(home, folder / "away");
  std::filesystem::create_directory(home);
  EXPECT_EQ(fetch(cloud, token).error().code, Code::zoneNotFound);
  ASSERT_TRUE(other.saveZone(zoneID, call));
  ASSERT_TRUE(save(other, {newRecord("b")}));
  ASSERT_TRUE(other.exchangeKeyValues({{"k", "new"}}, std::nullopt, call));
  const auto changes = fetch(cloud, token);
  ASSERT_THAT(changes->changed, SizeIs(1));
  EXPECT_EQ(changes->changed[0].recordID(), idOf("b"));
  EXPECT_EQ(cloud.exchangeKeyValues({}, keyValues, call)->changes, (Changes{{"k", "new"}}));
  SQLiteCloud away(folder.path() / "away" / "Cloud.sqlite");
  EXPECT_THAT(fetch(away, token)->changed, IsEmpty());
}

/// SQLite calls this for each connection that it opens.
int allowFewPages(sqlite3* database, const char** /*error*/, const sqlite3_api_routines* /*api*/) {
  return sqlite3_exec(database, "PRAGMA max_page_count = 40", nullptr, nullptr, nullptr);
}

TEST_F(SQLiteCloudTest, aFullDiskIsAnErrorThatChangesNothing) {
  const auto entry = reinterpret_cast<void (*)()>(&allowFewPages);
  sqlite3_auto_extension(entry);
  SQLiteCloud small(path);
  const auto status = small.accountStatus(call);
  sqlite3_cancel_auto_extension(entry);
  ASSERT_TRUE(status) << status.error().localizedDescription;
  ASSERT_TRUE(small.saveZone(zoneID, call));
  ASSERT_TRUE(save(small, {newRecord("a")}));
  const auto result = save(small, {newRecord("b"), newRecord("c", std::string(400'000, 'x'))});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().code, Code::serviceUnavailable);
  EXPECT_THAT(result.error().localizedDescription, HasSubstr("full"));
  EXPECT_THAT(result.error().retryAfter.value_or(0), AllOf(Ge(15), Le(60)));
  EXPECT_THAT(fetch(other)->changed, SizeIs(1));
  EXPECT_TRUE(save(small, {newRecord("b")})) << "a smaller one fits";
}

TEST_F(SQLiteCloudTest, theListenerIsToldOfOwnChangesAndThoseOfOthers) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"s", zoneID}, call));
  Events events;
  cloud.setListener(events.listener());
  ASSERT_TRUE(save(cloud, {newRecord("own")}));
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  ASSERT_TRUE(save(other, {newRecord("other")}));
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  ASSERT_TRUE(other.exchangeKeyValues({{"k", true}}, std::nullopt, call));
  EXPECT_TRUE(events.waitFor(Kind::keyValuesChanged));
  cloud.setListener({});
}

TEST_F(SQLiteCloudTest, aZoneWithoutASubscriptionIsNotToldOf) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  Events events;
  cloud.setListener(events.listener());
  ASSERT_TRUE(save(other, {newRecord("a")}));
  ASSERT_TRUE(other.exchangeKeyValues({{"k", true}}, std::nullopt, call));
  EXPECT_TRUE(events.waitFor(Kind::keyValuesChanged));
  cloud.setListener({});
  EXPECT_EQ(events.count(), 0U);
}

TEST_F(SQLiteCloudTest, whatHappenedBeforeTheListenerCameIsNotTold) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"s", zoneID}, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  Events events;
  cloud.setListener(events.listener());
  ASSERT_TRUE(cloud.exchangeKeyValues({{"k", true}}, std::nullopt, call));
  EXPECT_TRUE(events.waitFor(Kind::keyValuesChanged));
  cloud.setListener({});
  EXPECT_EQ(events.count(), 0U);
}

TEST_F(SQLiteCloudTest, changesSinceASubscriptionIsThereAreToldAtOnce) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(save(other, {newRecord("before")}));
  Events events;
  cloud.setListener(events.listener());
  ASSERT_TRUE(other.saveSubscription({"s", zoneID}, call));
  ASSERT_TRUE(save(other, {newRecord("after")}));
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  cloud.setListener({});
}

TEST_F(SQLiteCloudTest, aCommitWhoseWriterDiedBeforeItRangIsTold) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"s", zoneID}, call));
  Events events;
  cloud.setListener(events.listener());
  ASSERT_EQ(RawDatabase(path).run("UPDATE zone SET last = last + 1"), "");
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  cloud.setListener({});
}

TEST_F(SQLiteCloudTest, theBellIsHeardSooner) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"s", zoneID}, call));
  Events events;
  cloud.setListener(events.listener());
  // Of ten changes one may fall on a look that is taken anyway, but not all.
  int soon = 0;
  for (int change = 0; change < 10; ++change) {
    const auto start = Clock::now();
    ASSERT_TRUE(save(other, {newRecord(std::to_string(change))}));
    ASSERT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
    soon += Clock::now() - start < std::chrono::milliseconds(200) ? 1 : 0;
  }
  EXPECT_GE(soon, 6);
  cloud.setListener({});
}

TEST_F(SQLiteCloudTest, whatHappenedWhileTheFileCouldNotBeReadIsToldOnceItCan) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  ASSERT_TRUE(cloud.saveSubscription({"s", zoneID}, call));
  ASSERT_TRUE(save(cloud, {newRecord("a")}));
  std::filesystem::rename(home, folder / "away");
  SQLiteCloud listening(path);
  Events events;
  listening.setListener(events.listener());
  std::filesystem::rename(folder / "away", home);
  EXPECT_TRUE(events.waitFor(Kind::accountChanged));
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  ASSERT_TRUE(save(cloud, {newRecord("b")}));
  EXPECT_TRUE(events.waitFor(Kind::zoneChanged, "s"));
  listening.setListener({});
}

TEST_F(SQLiteCloudTest, aFileThatIsBusyForAWhileIsNotAnotherAccount) {
  ASSERT_TRUE(SQLiteCloud(path).saveZone(zoneID, call));
  std::atomic<int> accountChanges = 0;
  Events events;
  SQLiteCloud listening(path);
  {
    RawDatabase alone(path);
    ASSERT_EQ(alone.run("PRAGMA locking_mode = EXCLUSIVE"), "exclusive");
    ASSERT_EQ(alone.run("BEGIN EXCLUSIVE"), "");
    listening.setListener([&](const CloudEvent& event) {
      if (event.kind == Kind::accountChanged) ++accountChanges;
      events.add(event);
    });
  }
  ASSERT_TRUE(other.exchangeKeyValues({{"k", true}}, std::nullopt, call));
  EXPECT_TRUE(events.waitFor(Kind::keyValuesChanged));
  listening.setListener({});
  EXPECT_EQ(accountChanges, 0);
}

TEST_F(SQLiteCloudTest, aListenerThatHasEndedIsNotCalled) {
  std::atomic<bool> isEnded = false;
  std::atomic<bool> isEntered = false;
  cloud.setListener([&](const CloudEvent& /*event*/) {
    isEntered = true;
    isEntered.notify_all();
    std::this_thread::yield();
    EXPECT_FALSE(isEnded) << "the end waits for a call that goes on";
  });
  ASSERT_TRUE(other.exchangeKeyValues({{"k", true}}, std::nullopt, call));
  isEntered.wait(false);
  cloud.setListener({});
  isEnded = true;
  Events events;
  other.setListener(events.listener());
  ASSERT_TRUE(other.exchangeKeyValues({{"k", false}}, std::nullopt, call));
  EXPECT_TRUE(events.waitFor(Kind::keyValuesChanged));
}

TEST_F(SQLiteCloudTest, theListenerMayChangeWhileCallsGoOn) {
  ASSERT_TRUE(cloud.saveZone(zoneID, call));
  std::atomic<bool> isDone = false;
  std::thread caller([&] {
    for (int change = 0; change < 50; ++change) {
      EXPECT_TRUE(save(cloud, {newRecord(std::to_string(change))}));
    }
    isDone = true;
  });
  Events events;
  while (!isDone) {
    cloud.setListener(events.listener());
    cloud.setListener({});
  }
  caller.join();
  EXPECT_THAT(fetch(cloud)->changed, SizeIs(50));
}

}  // namespace
}  // namespace orvane::test
