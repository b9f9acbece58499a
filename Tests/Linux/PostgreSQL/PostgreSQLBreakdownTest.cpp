#include <atomic>
#include <future>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;
using ::testing::Optional;

/// Whether the error has that code, and a time exactly when it is retryable.
void expectError(const CKError& error, CKErrorCode code) {
  EXPECT_EQ(error.code, code) << error.localizedDescription;
  EXPECT_EQ(error.retryAfter.has_value(), isRetryable(code));
  EXPECT_FALSE(error.localizedDescription.empty());
}

class PostgreSQLBreakdown : public ::testing::Test {
 protected:
  using Saved = std::future<CKResult<CloudBatchResult>>;

  /// Another thread saves the record, and has come to a lock that a test holds.
  Saved saveUpToTheLock(const CKRecord& one) {
    auto saved = std::async(std::launch::async, [this, one] {
      return cloud->modifyRecords(saving({one}), {[this] { return isCancelled.load(); }});
    });
    server.waitUntilBlocked();
    return saved;
  }

  /// Saves the record so that the answer is lost, and the server does it nevertheless.
  void saveAndLoseTheAnswer(const CKRecord& one) {
    ZoneLock lock(server);
    auto saved = saveUpToTheLock(one);
    isCancelled = true;
    EXPECT_EQ(codeOf(saved.get()), CKErrorCode::operationCancelled);
    isCancelled = false;
    lock.release();
    const auto other = server.cloud("alice", "b");
    while (found(*other, one.recordID().recordName)->fields() != one.fields()) {
      std::this_thread::yield();
    }
  }

  /// The same record with another text.
  static CKRecord changed(CKRecord before, const std::string& text) {
    before.setValue("text", CKRecordValue(text));
    return before;
  }

  CloudInCluster server;
  std::atomic<bool> isCancelled = false;
  std::unique_ptr<PostgreSQLCloud> cloud = server.cloud("alice", "a");
};

TEST_F(PostgreSQLBreakdown, withoutAServerThereIsNoNetworkAndThePausesGrow) {
  server.cluster.kill();
  double last = 0;
  for (int attempt = 0; attempt < 3; ++attempt) {
    const auto status = cloud->accountStatus({});
    ASSERT_FALSE(status);
    expectError(status.error(), CKErrorCode::networkFailure);
    EXPECT_GE(status.error().retryAfter, last);
    last = *status.error().retryAfter;
  }
  server.cluster.start();
  server.cluster.waitUntilReady();
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
}

TEST_F(PostgreSQLBreakdown, aServerThatWasStartedAgainBetweenTwoCallsIsNotNoticed) {
  must(cloud->saveZone(theZone, {}));
  server.cluster.kill();
  server.cluster.start();
  server.cluster.waitUntilReady();
  must(cloud->modifyRecords(saving({record("one", "")}), {}));
}

TEST_F(PostgreSQLBreakdown, aServerThatIsKilledAmidACallIsANetworkFailure) {
  must(cloud->saveZone(theZone, {}));
  ZoneLock lock(server);
  auto saved = saveUpToTheLock(record("one", ""));
  server.cluster.kill();
  expectError(saved.get().error(), CKErrorCode::networkFailure);
  server.cluster.start();
  server.cluster.waitUntilReady();
  must(cloud->modifyRecords(saving({record("one", "")}), {}));
}

TEST_F(PostgreSQLBreakdown, aConnectionThatTheServerEndsAmidACallIsANetworkFailure) {
  must(cloud->saveZone(theZone, {}));
  ZoneLock lock(server);
  auto saved = saveUpToTheLock(record("one", ""));
  server.tell("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename = 'alice'");
  expectError(saved.get().error(), CKErrorCode::networkFailure);
  lock.release();
  must(cloud->modifyRecords(saving({record("one", "")}), {}));
}

TEST_F(PostgreSQLBreakdown, aStatementThatTheServerCancelsIsNotDone) {
  must(cloud->saveZone(theZone, {}));
  ZoneLock lock(server);
  auto saved = saveUpToTheLock(record("one", ""));
  server.tell("SELECT pg_cancel_backend(pid) FROM pg_stat_activity WHERE usename = 'alice'");
  expectError(saved.get().error(), CKErrorCode::serviceUnavailable);
  lock.release();
  EXPECT_FALSE(found(*cloud, "one"));
}

TEST_F(PostgreSQLBreakdown, aServerThatShutsDownIsUnavailable) {
  const auto last = server.connect("postgres");
  server.cluster.shutDown();
  expectError(cloud->accountStatus({}).error(), CKErrorCode::serviceUnavailable);
}

TEST_F(PostgreSQLBreakdown, aServerThatHangsIsGivenUpWhenTheTimeIsOver) {
  PostgreSQLCloud::Options options;
  options.timeouts.transaction = milliseconds(100);
  const auto hasty = server.cloud("alice", "a", options);
  must(hasty->saveZone(theZone, {}));
  server.cluster.freeze();
  expectError(hasty->fetchChanges(theZone, std::nullopt, 10, {}).error(),
              CKErrorCode::networkFailure);
  server.cluster.thaw();
  options.timeouts = {};
  must(server.cloud("alice", "a", options)->fetchChanges(theZone, std::nullopt, 10, {}));
}

TEST_F(PostgreSQLBreakdown, aServerThatHangsLetsNobodyIn) {
  PostgreSQLCloud::Options options;
  options.timeouts.connecting = milliseconds(100);
  server.cluster.freeze();
  expectError(server.cloud("alice", "a", options)->saveZone(theZone, {}).error(),
              CKErrorCode::networkFailure);
  server.cluster.thaw();
}

TEST_F(PostgreSQLBreakdown, aCallIsCancelledWhileItConnects) {
  server.cluster.freeze();
  int asked = 0;
  const auto result = cloud->saveZone(theZone, {[&] { return ++asked == 3; }});
  expectError(result.error(), CKErrorCode::operationCancelled);
  server.cluster.thaw();
  must(cloud->saveZone(theZone, {}));
}

TEST_F(PostgreSQLBreakdown, aCallIsCancelledWhileItWaitsForALock) {
  must(cloud->saveZone(theZone, {}));
  ZoneLock lock(server);
  auto saved = saveUpToTheLock(record("one", ""));
  isCancelled = true;
  expectError(saved.get().error(), CKErrorCode::operationCancelled);
  lock.release();
  isCancelled = false;
  EXPECT_TRUE(cloud->fetchChanges(theZone, std::nullopt, 10, {}));
}

TEST_F(PostgreSQLBreakdown, aCancelledCallDoesNotBegin) {
  must(cloud->accountStatus({}));
  expectError(cloud->saveZone(theZone, {[] { return true; }}).error(),
              CKErrorCode::operationCancelled);
  EXPECT_EQ(server.tell("SELECT FROM orvane.zones")[0].rows(), 0);
}

TEST_F(PostgreSQLBreakdown, theServerGivesUpACallWhoseClientIsGone) {
  must(cloud->saveZone(theZone, {}));
  ZoneLock lock(server);
  auto saved = saveUpToTheLock(record("one", ""));
  isCancelled = true;
  EXPECT_FALSE(saved.get());
  while (server.tell("SELECT FROM pg_stat_activity WHERE usename = 'alice'")[0].rows() > 0) {
    std::this_thread::yield();
  }
  lock.release();
  isCancelled = false;
  EXPECT_FALSE(found(*cloud, "one"));
}

TEST_F(PostgreSQLBreakdown, aZoneThatSomebodyElseWritesForTooLongIsBusy) {
  PostgreSQLCloud::Options options;
  options.timeouts.lock = milliseconds(50);
  const auto hasty = server.cloud("alice", "a", options);
  must(hasty->saveZone(theZone, {}));
  ZoneLock lock(server);
  expectError(hasty->modifyRecords(saving({record("one", "")}), {}).error(), CKErrorCode::zoneBusy);
  lock.release();
  EXPECT_FALSE(found(*hasty, "one"));
  must(hasty->modifyRecords(saving({record("one", "")}), {}));
}

TEST_F(PostgreSQLBreakdown, aDeadlockIsABusyZone) {
  // Whoever waits longest without looking for a deadlock is not its victim.
  server.tell("ALTER ROLE alice SET deadlock_timeout = '2s'");
  server.tell("ALTER ROLE postgres SET deadlock_timeout = '1min'");
  must(cloud->saveZone(theZone, {}));
  const auto tag = must(cloud->modifyRecords(saving({record("one", "")}), {})).changeTags[0];
  auto rival = server.connect("postgres");
  must(rival.transact({{"BEGIN", {}}, {"SELECT FROM orvane.records FOR UPDATE", {}}}, {}));
  auto saved = saveUpToTheLock(changed(record("one", "").savedWithChangeTag(tag), "new"));
  must(rival.transact({{"SELECT FROM orvane.zones FOR UPDATE", {}}}, {}));
  expectError(saved.get().error(), CKErrorCode::zoneBusy);
}

TEST_F(PostgreSQLBreakdown, aPasswordIsAskedFor) {
  server.tell("CREATE ROLE guarded LOGIN");
  expectError(server.cloud("guarded")->saveZone(theZone, {}).error(),
              CKErrorCode::notAuthenticated);
  auto admin = server.connect("postgres");
  must(addCloudUser(admin, "guarded", "open 'se\\same", {}));
  const auto with = [&](const std::string& password) {
    return PostgreSQLCloud(
               server.cluster.connectionString("guarded", "postgres", "password=" + password), "a")
        .accountStatus({});
  };
  EXPECT_EQ(with("'open \\'se\\\\same'"), CKAccountStatus::available);
  EXPECT_EQ(with("wrong"), CKAccountStatus::noAccount);
  EXPECT_EQ(server.cloud("guarded")->accountStatus({}), CKAccountStatus::noAccount);
}

TEST_F(PostgreSQLBreakdown, aDatabaseThatIsNotThereOrNotPreparedIsABadContainer) {
  for (const auto* database : {"missing", "template1"}) {
    PostgreSQLCloud misled(server.cluster.connectionString("alice", database), "a");
    expectError(misled.accountStatus({}).error(), CKErrorCode::badContainer);
    expectError(misled.saveZone(theZone, {}).error(), CKErrorCode::badContainer);
  }
  PostgreSQLCloud malformed("host", "a");
  expectError(malformed.saveZone(theZone, {}).error(), CKErrorCode::badContainer);
}

TEST_F(PostgreSQLBreakdown, aTableThatIsGoneIsABadContainer) {
  must(cloud->saveZone(theZone, {}));
  server.tell("DROP TABLE orvane.records");
  expectError(cloud->fetchChanges(theZone, std::nullopt, 10, {}).error(),
              CKErrorCode::badContainer);
}

TEST_F(PostgreSQLBreakdown, tooManyConnectionsAreALimitOfRequests) {
  server.tell("ALTER ROLE alice CONNECTION LIMIT 0");
  expectError(cloud->saveZone(theZone, {}).error(), CKErrorCode::requestRateLimited);
}

TEST_F(PostgreSQLBreakdown, aServerThatMayOnlyBeReadIsUnavailableForChanges) {
  must(cloud->saveZone(theZone, {}));
  server.tell("ALTER ROLE alice SET default_transaction_read_only = on");
  const auto reading = server.cloud("alice");
  expectError(reading->modifyRecords(saving({record("one", "")}), {}).error(),
              CKErrorCode::serviceUnavailable);
  must(reading->fetchChanges(theZone, std::nullopt, 10, {}));
}

TEST_F(PostgreSQLBreakdown, aRightThatWasTakenAwayIsAPermissionFailure) {
  must(cloud->accountStatus({}));
  server.tell("REVOKE INSERT (zone) ON orvane.zones FROM orvane_user");
  expectError(cloud->saveZone(theZone, {}).error(), CKErrorCode::permissionFailure);
}

TEST_F(PostgreSQLBreakdown, whateverStateAStatementFailsWithHasItsCode) {
  const std::map<std::string, CKErrorCode> codes{{"53100", CKErrorCode::serviceUnavailable},
                                                 {"40001", CKErrorCode::zoneBusy},
                                                 {"23503", CKErrorCode::zoneNotFound},
                                                 {"XX001", CKErrorCode::internalError}};
  for (const auto& [state, code] : codes) {
    server.tell(
        "CREATE OR REPLACE FUNCTION public.fail() RETURNS trigger LANGUAGE plpgsql AS $$ "
        "BEGIN RAISE 'broken' USING ERRCODE = '" +
        state + "'; END $$");
    server.tell(
        "CREATE OR REPLACE TRIGGER fail BEFORE INSERT ON orvane.zones "
        "FOR EACH ROW EXECUTE FUNCTION public.fail()");
    expectError(cloud->saveZone(theZone, {}).error(), code);
  }
}

TEST_F(PostgreSQLBreakdown, aRecordWhoseAnswerWasLostIsSavedWhenItIsSavedAgain) {
  must(cloud->saveZone(theZone, {}));
  saveAndLoseTheAnswer(record("one", "text"));
  const auto again = must(cloud->modifyRecords(saving({record("one", "text")}), {}));
  EXPECT_EQ(found(*cloud, "one"), record("one", "text").savedWithChangeTag(again.changeTags[0]));
}

TEST_F(PostgreSQLBreakdown, aRecordWhoseAnswerWasLostMayBeSavedAgainWithOthers) {
  must(cloud->saveZone(theZone, {}));
  saveAndLoseTheAnswer(record("one", "text"));
  must(cloud->modifyRecords(saving({record("two", ""), record("one", "text")}), {}));
  EXPECT_TRUE(found(*cloud, "two"));
}

TEST_F(PostgreSQLBreakdown, aLostAnswerHidesNoConflictWithAnotherMachine) {
  must(cloud->saveZone(theZone, {}));
  saveAndLoseTheAnswer(record("one", "text"));
  const auto other = server.cloud("alice", "b");
  must(other->modifyRecords(saving({changed(*found(*other, "one"), "text")}), {}));
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "text")}), {})),
            CKErrorCode::partialFailure);
}

TEST_F(PostgreSQLBreakdown, aLostAnswerHidesNoConflictOfOtherValues) {
  must(cloud->saveZone(theZone, {}));
  saveAndLoseTheAnswer(record("one", "text"));
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "other")}), {})),
            CKErrorCode::partialFailure);
}

TEST_F(PostgreSQLBreakdown, aLostAnswerIsForgottenOnceThereIsOne) {
  must(cloud->saveZone(theZone, {}));
  saveAndLoseTheAnswer(record("one", "text"));
  must(cloud->modifyRecords(saving({record("one", "text")}), {}));
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "text")}), {})),
            CKErrorCode::partialFailure);
}

TEST_F(PostgreSQLBreakdown, aServerKilledAtAnyMomentHasTheBatchOrHasItNot) {
  constexpr int rounds = 12;
  constexpr int size = 50;
  std::minstd_rand random(1);
  must(cloud->saveZone(theZone, {}));
  std::vector<CKRecord> records;
  for (int index = 0; index < size; ++index) records.push_back(record(std::to_string(index), "0"));
  must(cloud->modifyRecords(saving(records), {}));
  int lost = 0;
  for (int round = 1; round <= rounds; ++round) {
    std::vector<CKRecord> next;
    const auto before = must(cloud->fetchChanges(theZone, std::nullopt, size, {})).changed;
    const auto text = std::to_string(round);
    for (const auto& one : before) next.push_back(changed(one, text));
    std::atomic<bool> begun = false;
    auto saved = std::async(std::launch::async, [&] {
      return cloud->modifyRecords(saving(next), {[&] {
                                    begun = true;
                                    return false;
                                  }});
    });
    while (!begun) std::this_thread::yield();
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 15000);
    while (std::chrono::steady_clock::now() < end) std::this_thread::yield();
    server.cluster.kill();
    const auto result = saved.get();
    if (!result) expectError(result.error(), CKErrorCode::networkFailure);
    server.cluster.start();
    server.cluster.waitUntilReady();
    const auto after = must(cloud->fetchChanges(theZone, std::nullopt, size, {})).changed;
    const bool isDone = after != before;
    lost += result ? 0 : 1;
    EXPECT_TRUE(isDone || !result);
    ASSERT_EQ(after.size(), before.size());
    for (const auto& one : after) {
      EXPECT_EQ(one.value("text"), isDone ? CKRecordValue(text) : before[0].value("text"));
    }
  }
  RecordProperty("lost", lost);
}

TEST_F(PostgreSQLBreakdown, aServerKilledAtAnyMomentOfAFetchHidesNoChange) {
  constexpr int rounds = 12;
  constexpr std::size_t size = 100;
  constexpr std::size_t page = 30;
  std::minstd_rand random(1);
  must(cloud->saveZone(theZone, {}));
  std::vector<CKRecord> records;
  for (std::size_t index = 0; index < size; ++index) {
    records.push_back(record(std::to_string(index), std::string(1000, 'x')));
  }
  must(cloud->modifyRecords(saving(records), {}));
  must(cloud->modifyRecords({theZone, {}, {{"7", theZone}}}, {}));
  int lost = 0;
  for (int round = 0; round < rounds; ++round) {
    std::promise<void> begun;
    auto fetched = std::async(std::launch::async, [&] {
      std::vector<CKError> errors;
      std::set<std::string> names;
      std::optional<CKServerChangeToken> token;
      bool hasBegun = false;
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
      const CloudCall call{[&] {
        if (!std::exchange(hasBegun, true)) begun.set_value();
        return false;
      }};
      for (bool isMore = true; isMore && std::chrono::steady_clock::now() < deadline;) {
        const auto changes = cloud->fetchChanges(theZone, token, page, call);
        if (!changes) {
          errors.push_back(changes.error());
          std::this_thread::yield();
          continue;
        }
        for (const auto& one : changes->changed) names.insert(one.recordID().recordName);
        token = changes->token;
        isMore = changes->moreComing;
      }
      return std::pair(names, errors);
    });
    begun.get_future().wait();
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 8000);
    while (std::chrono::steady_clock::now() < end) std::this_thread::yield();
    server.cluster.kill();
    server.cluster.start();
    server.cluster.waitUntilReady();
    const auto [names, errors] = fetched.get();
    for (const auto& error : errors) {
      EXPECT_THAT(error.code,
                  ::testing::AnyOf(CKErrorCode::networkFailure, CKErrorCode::serviceUnavailable))
          << error.localizedDescription;
      EXPECT_TRUE(error.retryAfter);
    }
    lost += errors.empty() ? 0 : 1;
    EXPECT_EQ(names.size(), size - 1);
    EXPECT_FALSE(names.contains("7"));
  }
  RecordProperty("lost", lost);
}

}  // namespace
}  // namespace orvane::test
