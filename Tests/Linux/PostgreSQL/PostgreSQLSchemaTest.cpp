#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <poll.h>

#include "Linux/PostgreSQL/PostgreSQLSchema.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

class PostgreSQLSchema : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto cloud = server.cloud("alice");
    must(cloud->saveZone(theZone, {}));
    must(cloud->modifyRecords(saving({record("one", "")}), {}));
    must(cloud->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
    must(cloud->addPublicRecord(record("report", ""), {}));
  }

  /// What is of alice, as the superuser sees it.
  std::string everything() {
    return std::string(
        server
            .tell("SELECT concat((SELECT json_agg(accounts ORDER BY owner) FROM orvane.accounts),"
                  " (SELECT json_agg(zones) FROM orvane.zones),"
                  " (SELECT json_agg(records) FROM orvane.records),"
                  " (SELECT json_agg(key_values) FROM orvane.key_values),"
                  " (SELECT json_agg(reports) FROM orvane.reports))")[0]
            .text(0, 0));
  }

  CloudInCluster server;
};

TEST_F(PostgreSQLSchema, isInstalledAgainWithoutAChange) {
  const auto before = everything();
  auto admin = server.connect("postgres");
  must(installCloud(admin, {}));
  must(addCloudUser(admin, "alice", std::nullopt, {}));
  EXPECT_EQ(everything(), before);
  EXPECT_TRUE(server.cloud("alice")->fetchChanges(theZone, std::nullopt, 10, {}));
}

TEST_F(PostgreSQLSchema, ofANewerVersionIsLeftAlone) {
  server.tell("UPDATE orvane.version SET version = 2");
  auto admin = server.connect("postgres");
  EXPECT_EQ(codeOf(installCloud(admin, {})), CKErrorCode::badContainer);
  EXPECT_EQ(codeOf(server.cloud("alice")->accountStatus({})), CKErrorCode::badContainer);
  EXPECT_EQ(server.tell("SELECT version FROM orvane.version")[0].integer(0, 0), 2);
}

TEST_F(PostgreSQLSchema, isInstalledBySomebodyWhoMayNot) {
  auto alice = server.connect("alice");
  EXPECT_EQ(codeOf(installCloud(alice, {})), CKErrorCode::permissionFailure);
  EXPECT_EQ(codeOf(addCloudUser(alice, "carol", std::nullopt, {})), CKErrorCode::permissionFailure);
}

TEST_F(PostgreSQLSchema, isInstalledByTwoAtOnce) {
  server.tell("CREATE DATABASE empty");
  std::vector<std::thread> installing;
  std::atomic<int> installed = 0;
  for (int index = 0; index < 4; ++index) {
    installing.emplace_back([&] {
      auto admin = server.connect("postgres", "empty");
      if (installCloud(admin, {}) && addCloudUser(admin, "dora", std::nullopt, {})) ++installed;
    });
  }
  for (auto& one : installing) one.join();
  EXPECT_EQ(installed, 4);
}

TEST_F(PostgreSQLSchema, aUserMayHaveAnyName) {
  auto admin = server.connect("postgres");
  must(addCloudUser(admin, "O'Hara \\ \"x\" $$", std::nullopt, {}));
  EXPECT_EQ(server.tell("SELECT FROM pg_roles WHERE rolname = E'O\\'Hara \\\\ \"x\" $$'")[0].rows(),
            1);
}

TEST_F(PostgreSQLSchema, aUserWhoseNameTheServerWouldCutShortIsRefused) {
  auto admin = server.connect("postgres");
  const std::string longest = std::string(61, 'x') + "ü";
  must(addCloudUser(admin, longest, std::nullopt, {}));
  EXPECT_EQ(server.cloud(longest)->accountStatus({}), CKAccountStatus::available);
  const auto refused = addCloudUser(admin, longest + "y", std::nullopt, {});
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().code, CKErrorCode::invalidArguments);
  EXPECT_EQ(refused.error().localizedDescription,
            "The name of a user of the server has at least 1 and at most 63 bytes.");
  EXPECT_EQ(codeOf(addCloudUser(admin, "", std::nullopt, {})), CKErrorCode::invalidArguments);
  EXPECT_EQ(server.tell("SELECT FROM orvane.accounts")[0].rows(), 3);
}

TEST_F(PostgreSQLSchema, aUserIsAddedToTheCloudAndToNothingElse) {
  auto bob = server.connect("bob");
  for (const auto* statement :
       {"CREATE TABLE public.t ()", "CREATE TEMPORARY TABLE t ()", "CREATE TABLE orvane.t ()",
        "CREATE SCHEMA s", "CREATE ROLE r", "DROP TABLE orvane.zones", "TRUNCATE orvane.zones",
        "ALTER TABLE orvane.zones DISABLE ROW LEVEL SECURITY", "SET ROLE alice",
        "SET ROLE postgres", "SET SESSION AUTHORIZATION alice"}) {
    EXPECT_EQ(codeOf(bob.transact({{statement, {}}}, {})), CKErrorCode::permissionFailure)
        << statement;
  }
}

/// Statements of a user who is after another's rows: they are forbidden, or find none.
TEST_F(PostgreSQLSchema, noStatementReachesTheRowsOfAnother) {
  const auto before = everything();
  auto bob = server.connect("bob");
  const std::vector<std::string> fruitless{
      "SELECT FROM orvane.accounts WHERE owner <> 'bob'",
      "SELECT FROM orvane.zones",
      "SELECT FROM orvane.zones FOR UPDATE",
      "SELECT FROM orvane.records",
      "SELECT FROM orvane.key_values",
      "UPDATE orvane.accounts SET seq = 9 WHERE owner = 'alice' RETURNING 1",
      "UPDATE orvane.zones SET seq = 9 RETURNING 1",
      "UPDATE orvane.records SET name = 'mine' RETURNING 1",
      "UPDATE orvane.records SET owner = 'bob' RETURNING 1",
      "UPDATE orvane.key_values SET value = '2' RETURNING 1",
      "DELETE FROM orvane.zones RETURNING 1"};
  for (const auto& statement : fruitless) {
    EXPECT_EQ(must(bob.transact({{statement, {}}}, {}))[0].rows(), 0) << statement;
  }
  const std::vector<std::string> forbidden{
      "SELECT FROM orvane.reports",
      "SELECT id FROM orvane.reports",
      "INSERT INTO orvane.accounts (owner) VALUES ('bob2')",
      "UPDATE orvane.accounts SET owner = 'alice'",
      "UPDATE orvane.accounts SET channel = 'x'",
      "DELETE FROM orvane.accounts",
      "INSERT INTO orvane.zones (zone, owner) VALUES ('z', 'alice')",
      "UPDATE orvane.zones SET owner = 'bob'",
      "INSERT INTO orvane.records (zone_id, owner, name, type, tag, fields, device) "
      "VALUES (1, 'alice', 'two', '', 9, '{}', '')",
      "DELETE FROM orvane.records",
      "INSERT INTO orvane.key_values (owner, key, value, seq) VALUES ('alice', 'b', '1', 9)",
      "INSERT INTO orvane.key_values (owner, key, value, seq) VALUES ('alice', 'a', '1', 9) "
      "ON CONFLICT (owner, key) DO UPDATE SET value = '2'",
      "DELETE FROM orvane.key_values",
      "INSERT INTO orvane.reports (id, owner, type, fields, device) "
      "VALUES ('r', 'alice', '', '{}', '')",
      "INSERT INTO orvane.reports (id, type, fields, device) VALUES ('r', '', '{}', '') "
      "RETURNING id",
      "INSERT INTO orvane.reports (id, type, fields, device) VALUES ('report', '', '{}', '') "
      "ON CONFLICT (id) DO UPDATE SET type = 'x'",
      "UPDATE orvane.reports SET type = 'x'",
      "DELETE FROM orvane.reports",
      "INSERT INTO orvane.version VALUES (2)",
      "UPDATE orvane.version SET version = 2"};
  for (const auto& statement : forbidden) {
    EXPECT_EQ(codeOf(bob.transact({{statement, {}}}, {})), CKErrorCode::permissionFailure)
        << statement;
  }
  EXPECT_EQ(everything(), before);
}

TEST_F(PostgreSQLSchema, nobodyPutsARowIntoAnothersZone) {
  const auto before = everything();
  auto bob = server.connect("bob");
  const auto inserted =
      bob.transact({{"INSERT INTO orvane.records (zone_id, name, type, tag, fields, device) "
                     "SELECT id, 'two', '', 9, '{}', '' FROM generate_series(1, 3) AS id",
                     {}}},
                   {});
  EXPECT_EQ(codeOf(inserted), CKErrorCode::zoneNotFound);
  EXPECT_EQ(everything(), before);
}

/// A session of libpq that hears every notification.
class Ear {
 public:
  explicit Ear(const std::string& connectionString)
      : connection_(PQconnectdb(connectionString.c_str())) {}
  Ear(const Ear&) = delete;
  Ear& operator=(const Ear&) = delete;
  ~Ear() { PQfinish(connection_); }

  /// All that the statement gives, as one text.
  std::string ask(const std::string& statement) {
    std::string text;
    PGresult* result = PQexec(connection_, statement.c_str());
    for (int row = 0; row < PQntuples(result); ++row) {
      for (int column = 0; column < PQnfields(result); ++column) {
        text += std::string(PQgetvalue(result, row, column)) + '\n';
      }
    }
    EXPECT_STREQ(PQresultErrorMessage(result), "");
    PQclear(result);
    return text;
  }

  /// The channels of the notifications that have come, up to the one of that channel.
  std::vector<std::string> channelsUpTo(const std::string& last) {
    std::vector<std::string> channels;
    while (channels.empty() || channels.back() != last) {
      pollfd polled{PQsocket(connection_), POLLIN, 0};
      constexpr int longest = 20'000;
      if (::poll(&polled, 1, longest) != 1 || PQconsumeInput(connection_) != 1) break;
      while (auto* notification = PQnotifies(connection_)) {
        channels.emplace_back(notification->relname);
        PQfreemem(notification);
      }
    }
    return channels;
  }

 private:
  PGconn* connection_;
};

TEST_F(PostgreSQLSchema, nobodyHearsOfTheChangesOfAnother) {
  const auto channel = std::string(
      server.tell("SELECT channel FROM orvane.accounts WHERE owner = 'alice'")[0].text(0, 0));
  const auto alice = server.cloud("alice", "listening");
  must(alice->saveSubscription({"s", theZone}, {}));
  std::promise<void> listening;
  bool isTold = false;
  alice->setListener([&](const CloudEvent&) {
    if (!std::exchange(isTold, true)) listening.set_value();
  });
  listening.get_future().wait();

  Ear bob(server.cluster.connectionString("bob"));
  const std::string session = bob.ask("SELECT pid FROM pg_stat_activity WHERE usename = 'alice'");
  EXPECT_NE(session, "") << "that alice is there is no secret";
  for (const auto* guess : {"orvane", "orvane_", "alice", "*"}) {
    bob.ask(std::string("LISTEN \"") + guess + '"');
  }
  must(alice->modifyRecords(saving({record("two", "secret")}), {}));
  must(alice->exchangeKeyValues({{"b", "secret"}}, std::nullopt, {}));
  for (const auto* statement :
       {"SELECT pg_stat_activity::text FROM pg_stat_activity", "SELECT pg_listening_channels()",
        "SELECT accounts::text FROM orvane.accounts", "SELECT pg_locks::text FROM pg_locks",
        "SELECT pg_prepared_statements::text FROM pg_prepared_statements"}) {
    const auto seen = bob.ask(statement);
    EXPECT_THAT(seen, ::testing::Not(::testing::HasSubstr(channel))) << statement;
    EXPECT_THAT(seen, ::testing::Not(::testing::HasSubstr("secret"))) << statement;
    EXPECT_THAT(seen, ::testing::Not(::testing::HasSubstr("pg_notify"))) << statement;
  }
  EXPECT_THAT(server.tell("SELECT string_agg(query, ';') FROM pg_stat_activity")[0].text(0, 0),
              ::testing::HasSubstr("pg_notify"))
      << "there is something to hide";
  // What was notified before this would have come before it.
  server.tell("NOTIFY alice");
  EXPECT_THAT(bob.channelsUpTo("alice"), ::testing::ElementsAre("alice"));
  alice->setListener({});
}

TEST_F(PostgreSQLSchema, everyAccountHasAChannelOfItsOwn) {
  EXPECT_EQ(server.tell("SELECT DISTINCT channel FROM orvane.accounts")[0].rows(), 2);
}

}  // namespace
}  // namespace orvane::test
