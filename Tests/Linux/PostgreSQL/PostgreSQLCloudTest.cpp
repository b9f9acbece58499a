#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/PostgreSQL/PostgreSQLCloud.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Tags = std::vector<std::string>;

class PostgreSQLCloudTest : public ::testing::Test {
 protected:
  /// What is behind the token, by name, with its text; "-name" for a deletion.
  std::vector<std::string> behind(std::optional<CKServerChangeToken>& token,
                                  std::size_t limit = 100) {
    const auto changes = must(other->fetchChanges(theZone, token, limit, {}));
    token = changes.token;
    std::vector<std::string> names;
    for (const auto& changed : changes.changed) {
      const auto* text = changed.as<std::string>("text");
      names.push_back(changed.recordID().recordName + "=" + (text == nullptr ? "" : *text));
    }
    for (const auto& deleted : changes.deleted) {
      names.push_back("-" + deleted.recordID.recordName + ":" + deleted.recordType);
    }
    return names;
  }

  std::string saved(const CKRecord& one) {
    return must(cloud->modifyRecords(saving({one}), {})).changeTags.at(0);
  }

  CloudInCluster server;
  std::unique_ptr<PostgreSQLCloud> cloud = server.cloud("alice", "a");
  std::unique_ptr<PostgreSQLCloud> other = server.cloud("alice", "b");
};

TEST_F(PostgreSQLCloudTest, aUserWithAnAccountIsKnown) {
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::available);
}

TEST_F(PostgreSQLCloudTest, aRoleWithoutAnAccountOrThatDoesNotExistHasNone) {
  server.tell("CREATE ROLE carol LOGIN IN ROLE orvane_user");
  EXPECT_EQ(server.cloud("carol")->accountStatus({}), CKAccountStatus::noAccount);
  EXPECT_EQ(server.cloud("nobody")->accountStatus({}), CKAccountStatus::noAccount);
  EXPECT_EQ(codeOf(server.cloud("carol")->saveZone(theZone, {})), CKErrorCode::notAuthenticated);
}

TEST_F(PostgreSQLCloudTest, aRoleThatMayDoNothingIsRestricted) {
  server.tell("CREATE ROLE carol LOGIN");
  EXPECT_EQ(server.cloud("carol")->accountStatus({}), CKAccountStatus::restricted);
}

TEST_F(PostgreSQLCloudTest, anAccountMayGoWhileThereIsAConnection) {
  must(cloud->accountStatus({}));
  server.tell("DELETE FROM orvane.accounts WHERE owner = 'alice'");
  EXPECT_EQ(cloud->accountStatus({}), CKAccountStatus::noAccount);
}

TEST_F(PostgreSQLCloudTest, aZoneIsSavedOnce) {
  must(cloud->saveZone(theZone, {}));
  EXPECT_EQ(codeOf(cloud->saveZone(theZone, {})), CKErrorCode::serverRejectedRequest);
  must(cloud->saveZone({"another"}, {}));
  must(server.cloud("bob")->saveZone(theZone, {}));
}

TEST_F(PostgreSQLCloudTest, whatNeedsAZoneSaysWhenThereIsNone) {
  const auto none = CKErrorCode::zoneNotFound;
  EXPECT_EQ(codeOf(cloud->deleteZone(theZone, {})), none);
  EXPECT_EQ(codeOf(cloud->saveSubscription({"s", theZone}, {})), none);
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "")}), {})), none);
  EXPECT_EQ(codeOf(cloud->modifyRecords({theZone, {}, {{"one", theZone}}}, {})), none);
  EXPECT_EQ(codeOf(cloud->fetchChanges(theZone, std::nullopt, 10, {})), none);
}

TEST_F(PostgreSQLCloudTest, aZoneIsDeletedWithWhatItHasAndIsAnotherWhenItIsSavedAgain) {
  must(cloud->saveZone(theZone, {}));
  must(cloud->saveSubscription({"s", theZone}, {}));
  const auto tag = saved(record("one", "old"));
  std::optional<CKServerChangeToken> token;
  behind(token);
  must(cloud->deleteZone(theZone, {}));
  EXPECT_EQ(server.tell("SELECT FROM orvane.records")[0].rows(), 0);
  must(cloud->saveZone(theZone, {}));
  must(cloud->saveSubscription({"s", theZone}, {}));
  EXPECT_THAT(behind(token), IsEmpty());
  must(cloud->modifyRecords(saving({record("one", "new")}), {}));
  // Both zones have counted to the same number.
  CKRecord stale("Rule", {"one", theZone}, tag, {});
  stale.setValue("text", CKRecordValue("stale"s));
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({stale}), {})), CKErrorCode::partialFailure);
}

TEST_F(PostgreSQLCloudTest, aTokenOfAnEarlierZoneCountsAsNone) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", ""));
  std::optional<CKServerChangeToken> token;
  behind(token);
  must(cloud->deleteZone(theZone, {}));
  must(cloud->saveZone(theZone, {}));
  saved(record("two", ""));
  EXPECT_THAT(behind(token), ElementsAre("two="));
}

TEST_F(PostgreSQLCloudTest, aTokenThatIsNoneOfTheZoneCountsAsNone) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", ""));
  std::optional<CKServerChangeToken> token;
  behind(token);
  const auto good = token->value;
  for (const auto& value : {""s, "x"s, "."s, good + "x", "x" + good, "9" + good, "-" + good,
                            "99999999999999999999" + good, "1.é"s, "1.other"s}) {
    std::optional<CKServerChangeToken> bad{{value}};
    EXPECT_THAT(behind(bad), ElementsAre("one=")) << value;
  }
}

TEST_F(PostgreSQLCloudTest, aZoneHasOneSubscription) {
  must(cloud->saveZone(theZone, {}));
  must(cloud->saveSubscription({"first", theZone}, {}));
  const auto again = other->saveSubscription({"second", theZone}, {});
  EXPECT_EQ(codeOf(again), CKErrorCode::serverRejectedRequest);
  EXPECT_THAT(again.error().localizedDescription, EndsWith("duplicate of first"));
}

TEST_F(PostgreSQLCloudTest, everyKindOfValueComesBack) {
  must(cloud->saveZone(theZone, {}));
  CKRecord all("Rule", {"one", theZone});
  all.setValue("true", CKRecordValue(true));
  all.setValue("false", CKRecordValue(false));
  all.setValue("large", CKRecordValue(std::numeric_limits<std::int64_t>::max()));
  all.setValue("small", CKRecordValue(std::numeric_limits<std::int64_t>::min()));
  all.setValue("text", CKRecordValue("\"\\ é\U0001F600\n\x01"s));
  all.setValue("empty", CKRecordValue(""s));
  all.setValue("strings", CKRecordValue(std::vector<std::string>{"a", "", "b"}));
  all.setValue("none", CKRecordValue(std::vector<std::string>{}));
  all.setValue("reference", CKRecordValue(CKReference{{"two", theZone}}));
  const auto tag = saved(all);
  EXPECT_EQ(found(*other, "one"), all.savedWithChangeTag(tag));
}

TEST_F(PostgreSQLCloudTest, changedKeysAreSetAndTheOthersStay) {
  must(cloud->saveZone(theZone, {}));
  auto first = record("one", "text");
  first.setValue("kept", CKRecordValue(std::int64_t{1}));
  first.setValue("removed", CKRecordValue(true));
  CKRecord partial("Rule", {"one", theZone}, saved(first), {});
  partial.setValue("text", CKRecordValue("changed"s));
  partial.setValue("removed", std::nullopt);
  const auto tag = saved(partial);
  EXPECT_EQ(found(*other, "one"), CKRecord("Rule", {"one", theZone}, tag,
                                           {{"text", "changed"s}, {"kept", std::int64_t{1}}}));
}

TEST_F(PostgreSQLCloudTest, everySaveGivesAnotherTagAlsoOfEqualValues) {
  must(cloud->saveZone(theZone, {}));
  const auto first = saved(record("one", "text"));
  auto again = record("one", "text").savedWithChangeTag(first);
  again.setValue("text", CKRecordValue("text"s));
  EXPECT_NE(saved(again), first);
}

TEST_F(PostgreSQLCloudTest, aConflictFailsAllAndGivesTheRecordOfTheServer) {
  must(cloud->saveZone(theZone, {}));
  const auto tag = saved(record("one", "first"));
  auto newer = record("one", "first").savedWithChangeTag(tag);
  newer.setValue("text", CKRecordValue("second"s));
  const auto newTag = must(other->modifyRecords(saving({newer}), {})).changeTags[0];

  auto stale = record("one", "first").savedWithChangeTag(tag);
  stale.setValue("text", CKRecordValue("third"s));
  CKRecord gone("Rule", {"gone", theZone}, tag, {});
  const auto result = cloud->modifyRecords(
      {theZone, {record("new", ""), stale, gone, record("one more", "")}, {{"one", theZone}}}, {});
  ASSERT_EQ(codeOf(result), CKErrorCode::partialFailure);
  const auto& entries = result.error().partialErrorsByItemID;
  ASSERT_THAT(entries, SizeIs(2));
  EXPECT_EQ(std::get<CKRecordID>(entries[0].itemID).recordName, "one");
  EXPECT_EQ(entries[0].error.code, CKErrorCode::serverRecordChanged);
  EXPECT_EQ(*entries[0].error.serverRecord, newer.savedWithChangeTag(newTag));
  EXPECT_FALSE(entries[0].error.clientRecord);
  EXPECT_FALSE(entries[0].error.ancestorRecord);
  EXPECT_EQ(std::get<CKRecordID>(entries[1].itemID).recordName, "gone");
  EXPECT_EQ(entries[1].error.code, CKErrorCode::unknownItem);
  EXPECT_FALSE(entries[1].error.serverRecord);

  std::optional<CKServerChangeToken> token;
  EXPECT_THAT(behind(token), ElementsAre("one=second"));
}

TEST_F(PostgreSQLCloudTest, aRecordWithoutATagIsAConflictWhenThereIsOne) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", "same"));
  const auto result = cloud->modifyRecords(saving({record("one", "same")}), {});
  ASSERT_EQ(codeOf(result), CKErrorCode::partialFailure);
  EXPECT_EQ(result.error().partialErrorsByItemID.at(0).error.code,
            CKErrorCode::serverRecordChanged);
}

TEST_F(PostgreSQLCloudTest, aDeletedRecordIsNotThereAndMayBeSavedAgain) {
  must(cloud->saveZone(theZone, {}));
  auto first = record("one", "old");
  first.setValue("only before", CKRecordValue(true));
  const auto tag = saved(first);
  must(cloud->modifyRecords({theZone, {}, {{"one", theZone}}}, {}));
  auto late = first.savedWithChangeTag(tag);
  late.setValue("text", CKRecordValue("late"s));
  const auto result = cloud->modifyRecords(saving({late}), {});
  ASSERT_EQ(codeOf(result), CKErrorCode::partialFailure);
  EXPECT_EQ(result.error().partialErrorsByItemID.at(0).error.code, CKErrorCode::unknownItem);
  const auto again = saved(record("one", "new"));
  EXPECT_EQ(found(*other, "one"), record("one", "new").savedWithChangeTag(again));
}

TEST_F(PostgreSQLCloudTest, whatIsDeletedAndNotThereIsSaid) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", ""));
  const CKRecordID one{"one", theZone};
  const CKRecordID two{"two", theZone};
  EXPECT_THAT(must(cloud->modifyRecords({theZone, {}, {two, one}}, {})).unknownIDs,
              ElementsAre(two));
  EXPECT_THAT(must(cloud->modifyRecords({theZone, {}, {two, one}}, {})).unknownIDs,
              ElementsAre(two, one));
}

TEST_F(PostgreSQLCloudTest, changesAreFetchedOnceInTheOrderInWhichTheyWereLastSaved) {
  must(cloud->saveZone(theZone, {}));
  const auto tag = saved(record("one", "first"));
  saved(record("two", ""));
  saved(record("three", ""));
  std::optional<CKServerChangeToken> token;
  EXPECT_THAT(behind(token), ElementsAre("one=first", "two=", "three="));
  EXPECT_THAT(behind(token), IsEmpty());
  auto changed = record("one", "first").savedWithChangeTag(tag);
  changed.setValue("text", CKRecordValue("second"s));
  const auto second = saved(changed);
  must(cloud->modifyRecords({theZone, {}, {{"two", theZone}}}, {}));
  changed = changed.savedWithChangeTag(second);
  changed.setValue("text", CKRecordValue("third"s));
  saved(changed);
  EXPECT_THAT(behind(token), ElementsAre("one=third", "-two:Rule"));
}

TEST_F(PostgreSQLCloudTest, changesComeInPages) {
  must(cloud->saveZone(theZone, {}));
  must(cloud->modifyRecords(saving({record("1", ""), record("2", ""), record("3", "")}), {}));
  const auto first = must(other->fetchChanges(theZone, std::nullopt, 2, {}));
  EXPECT_TRUE(first.moreComing);
  EXPECT_THAT(first.changed, SizeIs(2));
  // What changes meanwhile comes too.
  must(cloud->modifyRecords({theZone, {record("4", "")}, {{"1", theZone}}}, {}));
  const auto second = must(other->fetchChanges(theZone, first.token, 2, {}));
  EXPECT_TRUE(second.moreComing);
  EXPECT_EQ(second.changed.at(0).recordID().recordName, "3");
  EXPECT_EQ(second.changed.at(1).recordID().recordName, "4");
  const auto third = must(other->fetchChanges(theZone, second.token, 2, {}));
  EXPECT_FALSE(third.moreComing);
  EXPECT_THAT(third.changed, IsEmpty());
  EXPECT_EQ(third.deleted.at(0).recordID.recordName, "1");
}

TEST_F(PostgreSQLCloudTest, aPageThatIsJustFullIsTheLast) {
  must(cloud->saveZone(theZone, {}));
  must(cloud->modifyRecords(saving({record("1", ""), record("2", "")}), {}));
  EXPECT_FALSE(must(other->fetchChanges(theZone, std::nullopt, 2, {})).moreComing);
}

TEST_F(PostgreSQLCloudTest, withoutATokenDeletionsAreMissing) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", ""));
  must(cloud->modifyRecords({theZone, {}, {{"one", theZone}}}, {}));
  std::optional<CKServerChangeToken> token;
  EXPECT_THAT(behind(token), IsEmpty());
  EXPECT_THAT(behind(token), IsEmpty());
}

TEST_F(PostgreSQLCloudTest, namesMayBeAnythingThatIsText) {
  const CKRecordZoneID odd{"zo'ne\"\\ \U0001F600"};
  must(cloud->saveZone(odd, {}));
  const std::string name = "{a,\"b\"} '\\" + std::string(200, 'x');
  must(cloud->modifyRecords({odd, {CKRecord("T'", {name, odd})}, {}}, {}));
  const auto changes = must(other->fetchChanges(odd, std::nullopt, 10, {}));
  EXPECT_EQ(changes.changed.at(0).recordID().recordName, name);
  must(cloud->saveSubscription({"s'\"", odd}, {}));
  must(cloud->deleteZone(odd, {}));
}

TEST_F(PostgreSQLCloudTest, textThatIsNoUnicodeIsAnInvalidArgument) {
  must(cloud->saveZone(theZone, {}));
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "a\0b"s)}), {})),
            CKErrorCode::invalidArguments);
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("\xFF", "")}), {})),
            CKErrorCode::invalidArguments);
  EXPECT_EQ(codeOf(cloud->modifyRecords(saving({record("one", "")}), {})), std::nullopt);
}

TEST_F(PostgreSQLCloudTest, keyValuesAreExchanged) {
  const auto all = must(cloud->exchangeKeyValues({{"a", "1"}, {"b", true}}, std::nullopt, {}));
  EXPECT_THAT(all.changes, IsEmpty());
  auto seen = must(other->exchangeKeyValues({}, std::nullopt, {}));
  EXPECT_EQ(seen.changes, (CloudKeyValueChanges{{"a", "1"}, {"b", true}}));
  must(cloud->exchangeKeyValues({{"a", std::nullopt}, {"c", std::int64_t{3}}}, all.token, {}));
  // The other one's change of the same key is the last, and wins.
  seen = must(other->exchangeKeyValues({{"c", std::int64_t{4}}}, seen.token, {}));
  EXPECT_EQ(seen.changes, (CloudKeyValueChanges{{"a", std::nullopt}}));
  seen = must(other->exchangeKeyValues({}, seen.token, {}));
  EXPECT_THAT(seen.changes, IsEmpty());
  EXPECT_EQ(must(cloud->exchangeKeyValues({}, std::nullopt, {})).changes,
            (CloudKeyValueChanges{{"b", true}, {"c", std::int64_t{4}}}));
}

TEST_F(PostgreSQLCloudTest, aTokenThatTheKeyValueStoreHasNotGivenCountsAsNone) {
  const auto token = must(cloud->exchangeKeyValues({{"a", "1"}}, std::nullopt, {})).token;
  for (const auto& value : {""s, "1.other"s, "9" + token.value}) {
    const CKServerChangeToken unknown{value};
    EXPECT_THAT(must(other->exchangeKeyValues({}, unknown, {})).changes, SizeIs(1)) << value;
    // The one change that is made at once must not make the token one of the past.
    EXPECT_THAT(must(other->exchangeKeyValues({{"b", std::nullopt}}, unknown, {})).changes,
                SizeIs(1))
        << value;
  }
}

TEST_F(PostgreSQLCloudTest, theKeyValueStoreHasAQuotaOfKeys) {
  CloudKeyValueChanges full;
  for (int key = 0; key < 1024; ++key) full.emplace(std::to_string(key), true);
  const auto token = must(cloud->exchangeKeyValues(full, std::nullopt, {})).token;
  EXPECT_EQ(codeOf(cloud->exchangeKeyValues({{"more", true}}, token, {})),
            CKErrorCode::quotaExceeded);
  EXPECT_THAT(must(other->exchangeKeyValues({}, token, {})).changes, IsEmpty());
  must(cloud->exchangeKeyValues({{"more", true}, {"0", std::nullopt}}, token, {}));
}

TEST_F(PostgreSQLCloudTest, theKeyValueStoreHasAQuotaOfBytes) {
  const std::string large(1000000 - 100, 'x');
  must(cloud->exchangeKeyValues({{"a", large}}, std::nullopt, {}));
  EXPECT_EQ(codeOf(cloud->exchangeKeyValues({{"b", std::string(100, 'x')}}, std::nullopt, {})),
            CKErrorCode::quotaExceeded);
  EXPECT_THAT(must(other->exchangeKeyValues({}, std::nullopt, {})).changes, SizeIs(1));
}

TEST_F(PostgreSQLCloudTest, onlyAFullKeyValueStoreIsOverItsQuota) {
  EXPECT_EQ(codeOf(cloud->exchangeKeyValues({{"\xFF", true}}, std::nullopt, {})),
            CKErrorCode::invalidArguments);
  PostgreSQLCloud misled(
      server.cluster.connectionString("alice", "postgres", "options='-c work_mem=much'"), "a");
  EXPECT_EQ(codeOf(misled.exchangeKeyValues({{"a", true}}, std::nullopt, {})),
            CKErrorCode::invalidArguments);
}

TEST_F(PostgreSQLCloudTest, aReportIsAddedOnce) {
  CKRecord report("Report", {"5F0C", theZone});
  report.setValue("URL", CKRecordValue("https://example.org"s));
  must(cloud->addPublicRecord(report, {}));
  must(cloud->addPublicRecord(report, {}));
  must(server.cloud("bob")->addPublicRecord(report, {}));
  const auto reports = server.tell("SELECT id, type, fields->>'URL', owner FROM orvane.reports");
  ASSERT_EQ(reports[0].rows(), 1);
  EXPECT_EQ(reports[0].text(0, 0), "5F0C");
  EXPECT_EQ(reports[0].text(0, 2), "https://example.org");
  EXPECT_EQ(reports[0].text(0, 3), "alice");
}

TEST_F(PostgreSQLCloudTest, usersSeeNothingOfEachOther) {
  must(cloud->saveZone(theZone, {}));
  saved(record("one", ""));
  must(cloud->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  const auto bob = server.cloud("bob");
  EXPECT_EQ(codeOf(bob->fetchChanges(theZone, std::nullopt, 10, {})), CKErrorCode::zoneNotFound);
  EXPECT_EQ(codeOf(bob->deleteZone(theZone, {})), CKErrorCode::zoneNotFound);
  EXPECT_THAT(must(bob->exchangeKeyValues({}, std::nullopt, {})).changes, IsEmpty());
  must(bob->saveZone(theZone, {}));
  EXPECT_THAT(must(bob->fetchChanges(theZone, std::nullopt, 10, {})).changed, IsEmpty());
}

TEST_F(PostgreSQLCloudTest, theSuperuserHasACloudOfItsOwnLikeAnyUser) {
  must(cloud->saveZone(theZone, {}));
  auto admin = server.connect("postgres");
  must(addCloudUser(admin, "postgres", std::nullopt, {}));
  const auto super = server.cloud("postgres");
  EXPECT_EQ(codeOf(super->fetchChanges(theZone, std::nullopt, 10, {})), CKErrorCode::zoneNotFound);
  must(super->saveZone(theZone, {}));
  must(super->exchangeKeyValues({{"a", "1"}}, std::nullopt, {}));
  EXPECT_THAT(must(cloud->exchangeKeyValues({}, std::nullopt, {})).changes, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
