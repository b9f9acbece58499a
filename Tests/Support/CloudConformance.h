#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/CloudSession.h"

namespace orvane::test {

/// What every cloud does. `Cloud` can be made without arguments, lives as long as a test, and has
///
///     std::unique_ptr<CloudBackend> connect();   // one more machine of the same user
///     std::shared_ptr<void> hold();              // while it lives, no record can be saved
template <typename Cloud>
class CloudConformance : public ::testing::Test {
 protected:
  static CKRecordID idOf(const std::string& name) { return {name, {"Zone"}}; }
  static CKRecord newRecord(const std::string& name, const std::string& value = "value") {
    CKRecord record("rule", idOf(name));
    record.setValue("name", value);
    return record;
  }
  static std::set<std::string> namesOf(const std::vector<CKRecord>& records) {
    std::set<std::string> names;
    for (const auto& record : records) names.insert(record.recordID().recordName);
    return names;
  }
  static std::vector<CKRecord> newRecords(std::size_t count, const std::string& prefix = "rule-") {
    std::vector<CKRecord> records;
    for (std::size_t index = 0; index < count; ++index) {
      records.push_back(newRecord(fmt::format("{}{}", prefix, index)));
    }
    return records;
  }
  static CKErrorCode codeFor(const CKError& error, const std::string& name) {
    const auto& items = error.partialErrorsByItemID;
    const auto found = std::find_if(items.begin(), items.end(), [&](const auto& item) {
      return std::get<CKRecordID>(item.itemID).recordName == name;
    });
    return found == items.end() ? CKErrorCode::internalError : found->error.code;
  }
  CKRecord savedRecord(CloudSession& session, const std::string& name,
                       const std::string& value = "value") {
    auto result = session.modify({newRecord(name, value)});
    EXPECT_FALSE(result.error.has_value()) << result.error->localizedDescription;
    return result.saved.at(0);
  }

  Cloud cloud_;
  CloudSession here_{cloud_.connect()};
  CloudSession there_{cloud_.connect()};
};

TYPED_TEST_SUITE_P(CloudConformance);

TYPED_TEST_P(CloudConformance, hasAnAccount) {
  EXPECT_EQ(this->here_.accountStatus(), CKAccountStatus::available);
}

TYPED_TEST_P(CloudConformance, zoneIsSavedOnce) {
  EXPECT_FALSE(this->here_.saveZone().has_value());
  EXPECT_EQ(this->there_.saveZone()->code, CKErrorCode::serverRejectedRequest);
  EXPECT_FALSE(this->here_.saveZone("Other").has_value());
}

TYPED_TEST_P(CloudConformance, zoneIsMissedByEverything) {
  EXPECT_EQ(this->here_.modify({this->newRecord("a")}).error->code, CKErrorCode::zoneNotFound);
  EXPECT_EQ(this->here_.fetch().error->code, CKErrorCode::zoneNotFound);
  EXPECT_EQ(this->here_.subscribe("mine")->code, CKErrorCode::zoneNotFound);
  EXPECT_EQ(this->here_.deleteZone()->code, CKErrorCode::zoneNotFound);
}

TYPED_TEST_P(CloudConformance, zoneThatWasDeletedBeginsAnew) {
  this->here_.saveZone();
  const auto old = this->savedRecord(this->here_, "a");
  const auto token = this->here_.fetch().token;
  EXPECT_FALSE(this->there_.deleteZone().has_value());
  EXPECT_EQ(this->here_.modify({this->newRecord("b")}).error->code, CKErrorCode::zoneNotFound);
  EXPECT_FALSE(this->here_.saveZone().has_value());
  EXPECT_THAT(this->here_.fetch().changed, ::testing::IsEmpty());
  this->savedRecord(this->here_, "b");
  this->savedRecord(this->here_, "c");
  EXPECT_EQ(this->namesOf(this->here_.fetch(token).changed), (std::set<std::string>{"b", "c"}))
      << "the token is of the zone before";
  EXPECT_EQ(this->codeFor(*this->here_.modify({old}).error, "a"), CKErrorCode::unknownItem);
  EXPECT_FALSE(this->here_.subscribe("mine").has_value());
}

TYPED_TEST_P(CloudConformance, recordComesBackAsItWasSaved) {
  this->here_.saveZone();
  auto record = this->newRecord("Überfall \"1\" \\ \n");
  record.setValue("text", CKRecordValue(std::string("a’b\t\x01 \xF0\x9F\x9A\xAB")));
  record.setValue("empty", CKRecordValue(std::string()));
  record.setValue("yes", CKRecordValue(true));
  record.setValue("no", CKRecordValue(false));
  record.setValue("zero", CKRecordValue(std::int64_t{0}));
  record.setValue("least", CKRecordValue(std::numeric_limits<std::int64_t>::min()));
  record.setValue("list", CKRecordValue(std::vector<std::string>{"b", "", "a", "a"}));
  record.setValue("none", CKRecordValue(std::vector<std::string>{}));
  record.setValue("package", CKRecordValue(CKReference{this->idOf("it's there")}));
  record.setValue("absent", std::nullopt);
  const auto saved = this->here_.modify({record});
  ASSERT_FALSE(saved.error.has_value()) << saved.error->localizedDescription;
  ASSERT_EQ(saved.saved.size(), 1U);
  EXPECT_THAT(saved.saved[0].changedKeys(), ::testing::IsEmpty());
  const auto fetched = this->there_.fetch();
  ASSERT_EQ(fetched.changed.size(), 1U);
  EXPECT_EQ(fetched.changed[0].recordType(), "rule");
  EXPECT_EQ(fetched.changed[0], saved.saved[0]);
}

TYPED_TEST_P(CloudConformance, changedKeysAreSetAndTheOthersStay) {
  this->here_.saveZone();
  auto record = this->newRecord("a");
  record.setValue("selector", CKRecordValue(std::string(".ad")));
  record.setValue("loadType", CKRecordValue(std::vector<std::string>{"third-party"}));
  const auto saved = this->here_.modify({record}).saved.at(0);

  NSKeyedArchiver archiver(CKRecord::className);
  saved.encodeSystemFields(archiver);
  auto again = *CKRecord::decode(
      *NSKeyedUnarchiver::forReading(archiver.finishEncoding(), CKRecord::className));
  again.setValue("name", CKRecordValue(std::string("other")));
  again.setValue("selector", std::nullopt);
  const auto result = this->here_.modify({again});
  ASSERT_FALSE(result.error.has_value()) << result.error->localizedDescription;
  EXPECT_NE(result.saved.at(0).recordChangeTag(), saved.recordChangeTag());

  const auto fetched = this->there_.fetch().changed.at(0);
  EXPECT_EQ(fetched.fields(),
            (CKRecord::Fields{{"name", std::string("other")},
                              {"loadType", std::vector<std::string>{"third-party"}}}));
  EXPECT_EQ(fetched.recordChangeTag(), result.saved.at(0).recordChangeTag());
}

TYPED_TEST_P(CloudConformance, saveOfAChangedRecordConflicts) {
  this->here_.saveZone();
  auto mine = this->savedRecord(this->here_, "a", "first");
  auto theirs = this->there_.fetch().changed.at(0);
  theirs.setValue("name", CKRecordValue(std::string("theirs")));
  const auto server = this->there_.modify({theirs}).saved.at(0);
  mine.setValue("name", CKRecordValue(std::string("mine")));

  const auto result = this->here_.modify({this->newRecord("b"), mine}, {this->idOf("c")});
  ASSERT_TRUE(result.error.has_value());
  EXPECT_EQ(result.error->code, CKErrorCode::partialFailure);
  ASSERT_EQ(result.error->partialErrorsByItemID.size(), 3U);
  const auto& [itemID, error] = result.error->partialErrorsByItemID.front();
  EXPECT_EQ(itemID, CKItemID(this->idOf("a"))) << "what really failed comes first";
  EXPECT_EQ(error.code, CKErrorCode::serverRecordChanged);
  EXPECT_EQ(*error.serverRecord, server);
  EXPECT_EQ(*error.clientRecord, mine);
  EXPECT_EQ(error.ancestorRecord->value("name"), CKRecord::Value(std::string("first")));
  EXPECT_EQ(this->codeFor(*result.error, "b"), CKErrorCode::batchRequestFailed);
  EXPECT_EQ(this->codeFor(*result.error, "c"), CKErrorCode::batchRequestFailed);
  EXPECT_EQ(this->namesOf(this->here_.fetch().changed), std::set<std::string>{"a"})
      << "all or nothing";
}

TYPED_TEST_P(CloudConformance, saveOfANewRecordConflictsWithOneThatIsThere) {
  this->here_.saveZone();
  const auto theirs = this->savedRecord(this->there_, "a", "theirs");
  const auto mine = this->newRecord("a", "mine");
  const auto error = this->here_.modify({mine}).error->partialErrorsByItemID.at(0).error;
  EXPECT_EQ(error.code, CKErrorCode::serverRecordChanged);
  EXPECT_EQ(*error.serverRecord, theirs);
  EXPECT_EQ(*error.clientRecord, mine);
  EXPECT_EQ(*error.ancestorRecord, mine);
}

TYPED_TEST_P(CloudConformance, saveOfARecordThatIsGoneIsUnknown) {
  this->here_.saveZone();
  auto record = this->savedRecord(this->here_, "a");
  EXPECT_FALSE(this->there_.modify({}, {this->idOf("a")}).error.has_value());
  record.setValue("name", CKRecordValue(std::string("other")));
  EXPECT_EQ(this->codeFor(*this->here_.modify({record}).error, "a"), CKErrorCode::unknownItem);
  EXPECT_FALSE(this->here_.modify({this->newRecord("a", "new")}).error.has_value());
  const auto fetched = this->there_.fetch().changed;
  ASSERT_EQ(fetched.size(), 1U);
  EXPECT_EQ(fetched[0].fields(), (CKRecord::Fields{{"name", std::string("new")}}));
}

TYPED_TEST_P(CloudConformance, deletionOfWhatIsNotThereSucceedsAndIsLogged) {
  this->here_.saveZone();
  const auto result = this->here_.modify({this->newRecord("a")}, {this->idOf("b")});
  ASSERT_FALSE(result.error.has_value()) << result.error->localizedDescription;
  EXPECT_EQ(result.deleted, std::vector{this->idOf("b")});
  EXPECT_EQ(this->here_.systemLog.lines,
            std::vector<std::string>{"The record “b” was to be deleted and was not there."});
  EXPECT_EQ(this->namesOf(this->there_.fetch().changed), std::set<std::string>{"a"});
}

TYPED_TEST_P(CloudConformance, tokenLeadsToWhatHasChangedSince) {
  this->here_.saveZone();
  EXPECT_THAT(this->here_.fetch().changed, ::testing::IsEmpty());
  auto changing = this->savedRecord(this->here_, "a");
  this->savedRecord(this->here_, "b");
  this->savedRecord(this->here_, "c");
  const auto first = this->there_.fetch();
  EXPECT_EQ(first.changed.size(), 3U);
  EXPECT_FALSE(first.moreComing);

  const auto nothing = this->there_.fetch(first.token);
  EXPECT_THAT(nothing.changed, ::testing::IsEmpty());
  EXPECT_THAT(nothing.deleted, ::testing::IsEmpty());

  changing.setValue("name", CKRecordValue(std::string("other")));
  ASSERT_FALSE(this->here_.modify({changing}, {this->idOf("b")}).error.has_value());
  const auto second = this->there_.fetch(nothing.token);
  EXPECT_EQ(this->namesOf(second.changed), std::set<std::string>{"a"});
  EXPECT_EQ(second.deleted, std::vector<std::string>{"b"});
  EXPECT_EQ(this->namesOf(this->there_.fetch(first.token).changed), std::set<std::string>{"a"})
      << "the same again";
}

TYPED_TEST_P(CloudConformance, tokenOfAnotherZoneCountsAsNone) {
  this->here_.saveZone();
  this->here_.saveZone("Other");
  this->savedRecord(this->here_, "a");
  const auto other = this->here_.fetch(std::nullopt, "Other").token;
  EXPECT_EQ(this->here_.fetch(other).changed.size(), 1U);
  EXPECT_EQ(this->here_.fetch(CKServerChangeToken{"nonsense"}).changed.size(), 1U);
  EXPECT_EQ(this->here_.fetch(CKServerChangeToken{""}).changed.size(), 1U);
}

TYPED_TEST_P(CloudConformance, changesComeInPages) {
  this->here_.saveZone();
  ASSERT_FALSE(this->here_.modify(this->newRecords(7)).error.has_value());
  ASSERT_FALSE(this->here_.modify({}, {this->idOf("rule-3")}).error.has_value());
  std::set<std::string> names;
  std::vector<std::string> deleted;
  std::optional<CKServerChangeToken> token;
  std::size_t pages = 0;
  for (bool moreComing = true; moreComing; ++pages) {
    ASSERT_LT(pages, 9U);
    const auto page = this->there_.backend->fetchChanges({"Zone"}, token, 3, CloudCall{});
    ASSERT_TRUE(page.has_value()) << page.error().localizedDescription;
    EXPECT_LE(page->changed.size() + page->deleted.size(), 3U);
    names.merge(this->namesOf(page->changed));
    for (const auto& deletion : page->deleted) deleted.push_back(deletion.recordID.recordName);
    token = page->token;
    moreComing = page->moreComing;
  }
  EXPECT_EQ(names.size(), 6U);
  EXPECT_GE(pages, 2U);
  const auto end = this->there_.fetch(token);
  EXPECT_THAT(end.changed, ::testing::IsEmpty());
}

TYPED_TEST_P(CloudConformance, requestHasAtMost400Items) {
  this->here_.saveZone();
  auto records = this->newRecords(400);
  EXPECT_EQ(this->here_.modify(records, {this->idOf("x")}).error->code, CKErrorCode::limitExceeded);
  EXPECT_THAT(this->here_.fetch().changed, ::testing::IsEmpty());
  const auto result = this->here_.modify(records);
  ASSERT_FALSE(result.error.has_value()) << result.error->localizedDescription;
  EXPECT_EQ(result.saved.size(), 400U);
  EXPECT_EQ(this->there_.fetch().changed.size(), 400U);
}

TYPED_TEST_P(CloudConformance, itemThatCannotBeStoredFailsByItself) {
  this->here_.saveZone();
  const auto bad = this->newRecord("bad", std::string("zero\0byte", 9));
  const auto result = this->here_.modify({this->newRecord("good"), bad});
  ASSERT_TRUE(result.error.has_value());
  EXPECT_EQ(result.error->partialErrorsByItemID.front().itemID, CKItemID(this->idOf("bad")));
  EXPECT_EQ(this->codeFor(*result.error, "bad"), CKErrorCode::invalidArguments);
  EXPECT_EQ(this->codeFor(*result.error, "good"), CKErrorCode::batchRequestFailed);
}

TYPED_TEST_P(CloudConformance, recordIsSavedAndDeletedOnceInARequest) {
  this->here_.saveZone();
  const auto twice = this->here_.modify({this->newRecord("a"), this->newRecord("a")});
  EXPECT_EQ(this->codeFor(*twice.error, "a"), CKErrorCode::invalidArguments);
  const auto both = this->here_.modify({this->newRecord("a")}, {this->idOf("a")});
  EXPECT_EQ(this->codeFor(*both.error, "a"), CKErrorCode::invalidArguments);
}

TYPED_TEST_P(CloudConformance, subscriptionIsSavedOnceForAllMachines) {
  this->here_.saveZone();
  EXPECT_FALSE(this->here_.subscribe("first").has_value());
  const auto error = this->there_.subscribe("second");
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->code, CKErrorCode::serverRejectedRequest);
  EXPECT_THAT(error->localizedDescription, ::testing::EndsWith("duplicate of first"));
}

TYPED_TEST_P(CloudConformance, listenerIsToldOfChangesOfOtherMachines) {
  this->here_.saveZone();
  this->here_.subscribe("mine");
  std::mutex mutex;
  std::condition_variable arrived;
  std::vector<CloudEvent> events;
  this->there_.backend->setListener([&](const CloudEvent& event) {
    const std::lock_guard lock(mutex);
    events.push_back(event);
    arrived.notify_all();
  });
  const auto isTold = [&](CloudEvent::Kind kind, const std::string& subscriptionID) {
    std::unique_lock lock(mutex);
    return arrived.wait_for(lock, std::chrono::seconds(20), [&] {
      return std::any_of(events.begin(), events.end(), [&](const CloudEvent& event) {
        return event.kind == kind && event.subscriptionID == subscriptionID;
      });
    });
  };
  this->savedRecord(this->here_, "a");
  EXPECT_TRUE(isTold(CloudEvent::Kind::zoneChanged, "mine"));
  ASSERT_TRUE(
      this->here_.backend->exchangeKeyValues({{"key", true}}, std::nullopt, {}).has_value());
  EXPECT_TRUE(isTold(CloudEvent::Kind::keyValuesChanged, ""));
  this->there_.backend->setListener({});
}

TYPED_TEST_P(CloudConformance, keyValuesAreOfWhoeverWroteLast) {
  using Changes = CloudKeyValueChanges;
  auto& here = *this->here_.backend;
  auto& there = *this->there_.backend;
  const PropertyListValue list = toPropertyList({"a", "b"});
  const auto first = here.exchangeKeyValues({{"list", list}, {"flag", true}}, std::nullopt, {});
  ASSERT_TRUE(first.has_value()) << first.error().localizedDescription;
  EXPECT_THAT(first->changes, ::testing::IsEmpty());
  const auto arrived = there.exchangeKeyValues({}, std::nullopt, {});
  EXPECT_EQ(arrived->changes, (Changes{{"list", list}, {"flag", true}}));
  const auto written = there.exchangeKeyValues({{"flag", std::nullopt}, {"count", std::int64_t{3}}},
                                               arrived->token, {});
  EXPECT_THAT(written->changes, ::testing::IsEmpty());
  const auto last = here.exchangeKeyValues({{"count", std::int64_t{4}}}, first->token, {});
  EXPECT_EQ(last->changes, (Changes{{"flag", std::nullopt}}));
  EXPECT_EQ(there.exchangeKeyValues({}, written->token, {})->changes,
            (Changes{{"count", std::int64_t{4}}}));
}

TYPED_TEST_P(CloudConformance, keyValuesAreAllThereAreForATokenThatIsNotTheStores) {
  using Changes = CloudKeyValueChanges;
  auto& here = *this->here_.backend;
  this->here_.saveZone();
  const auto first = here.exchangeKeyValues({{"flag", true}, {"gone", true}}, std::nullopt, {});
  ASSERT_TRUE(first.has_value()) << first.error().localizedDescription;
  EXPECT_TRUE(first->isAll);
  const auto second = here.exchangeKeyValues({{"gone", std::nullopt}}, first->token, {});
  EXPECT_FALSE(second->isAll);
  EXPECT_FALSE(here.exchangeKeyValues({}, first->token, {})->isAll);
  const std::vector<std::optional<CKServerChangeToken>> others{
      std::nullopt, CKServerChangeToken{""}, CKServerChangeToken{"nonsense"},
      this->here_.fetch().token};
  for (const auto& token : others) {
    const auto all = here.exchangeKeyValues({}, token, {});
    ASSERT_TRUE(all.has_value()) << all.error().localizedDescription;
    EXPECT_TRUE(all->isAll);
    EXPECT_EQ(all->changes, (Changes{{"flag", true}}));
  }
}

TYPED_TEST_P(CloudConformance, keyValuesHaveAQuota) {
  auto& here = *this->here_.backend;
  CloudKeyValueChanges many;
  for (int index = 0; index < 1024; ++index) many[fmt::format("key-{}", index)] = true;
  const auto full = here.exchangeKeyValues(many, std::nullopt, {});
  ASSERT_TRUE(full.has_value()) << full.error().localizedDescription;
  EXPECT_EQ(here.exchangeKeyValues({{"more", true}}, full->token, {}).error().code,
            CKErrorCode::quotaExceeded);
  EXPECT_TRUE(here.exchangeKeyValues({{"key-0", std::nullopt}, {"more", true}}, full->token, {})
                  .has_value());
  EXPECT_EQ(here.exchangeKeyValues({{"key-1", std::string(1'000'001, 'x')}}, full->token, {})
                .error()
                .code,
            CKErrorCode::quotaExceeded);
  EXPECT_EQ(this->there_.backend->exchangeKeyValues({}, std::nullopt, {})->changes.at("key-1"),
            PropertyListValue(true));
}

TYPED_TEST_P(CloudConformance, publicRecordIsAddedOnce) {
  CKRecord report("Report", {"report-1", {"_defaultZone"}});
  report.setValue("type", CKRecordValue(std::string("brokenSite")));
  EXPECT_FALSE(this->here_.report(report).has_value());
  EXPECT_FALSE(this->here_.report(report).has_value()) << "it was sent before";
}

TYPED_TEST_P(CloudConformance, operationThatWaitsIsCancelled) {
  this->here_.saveZone();
  const auto first = std::make_shared<CKModifyRecordsOperation>(std::vector{this->newRecord("a")},
                                                                std::vector<CKRecordID>{});
  const auto second = std::make_shared<CKModifyRecordsOperation>(std::vector{this->newRecord("b")},
                                                                 std::vector<CKRecordID>{});
  second->addDependency(first);
  second->cancel();
  const auto cancelled = this->here_.add(second)->get_future().get();
  EXPECT_EQ(cancelled.error->code, CKErrorCode::operationCancelled);
  EXPECT_FALSE(this->here_.add(first)->get_future().get().error.has_value());
  EXPECT_EQ(this->namesOf(this->here_.fetch().changed), std::set<std::string>{"a"});
}

TYPED_TEST_P(CloudConformance, callThatGoesOnIsCancelled) {
  using Clock = std::chrono::steady_clock;
  this->here_.saveZone();
  auto held = this->cloud_.hold();
  int asked = 0;
  auto last = Clock::now();
  auto longest = Clock::duration::zero();
  const CloudCall call{[&] {
    longest = std::max(longest, Clock::now() - std::exchange(last, Clock::now()));
    return ++asked > 4;
  }};
  const auto cancelled =
      this->here_.backend->modifyRecords({{"Zone"}, {this->newRecord("a")}, {}}, call);
  ASSERT_FALSE(cancelled.has_value());
  EXPECT_EQ(cancelled.error().code, CKErrorCode::operationCancelled);
  EXPECT_FALSE(cancelled.error().retryAfter.has_value());
  EXPECT_LT(longest, std::chrono::seconds(1)) << "about every 50 ms";
  held.reset();
  EXPECT_FALSE(this->here_.modify({this->newRecord("b")}).error.has_value());
  EXPECT_TRUE(this->namesOf(this->there_.fetch().changed).contains("b"));
}

TYPED_TEST_P(CloudConformance, operationFollowsWhatItDependsOn) {
  this->here_.saveZone();
  const auto first = std::make_shared<CKModifyRecordsOperation>(std::vector{this->newRecord("a")},
                                                                std::vector<CKRecordID>{});
  const auto second = std::make_shared<CKModifyRecordsOperation>(std::vector{this->newRecord("b")},
                                                                 std::vector<CKRecordID>{});
  second->addDependency(first);
  auto secondDone = this->here_.add(second)->get_future();
  auto firstDone = this->here_.add(first)->get_future();
  const auto tagOfSecond = std::stoull(*secondDone.get().saved.at(0).recordChangeTag());
  EXPECT_LT(std::stoull(*firstDone.get().saved.at(0).recordChangeTag()), tagOfSecond);
}

REGISTER_TYPED_TEST_SUITE_P(
    CloudConformance, hasAnAccount, zoneIsSavedOnce, zoneIsMissedByEverything,
    zoneThatWasDeletedBeginsAnew, recordComesBackAsItWasSaved, changedKeysAreSetAndTheOthersStay,
    saveOfAChangedRecordConflicts, saveOfANewRecordConflictsWithOneThatIsThere,
    saveOfARecordThatIsGoneIsUnknown, deletionOfWhatIsNotThereSucceedsAndIsLogged,
    tokenLeadsToWhatHasChangedSince, tokenOfAnotherZoneCountsAsNone, changesComeInPages,
    requestHasAtMost400Items, itemThatCannotBeStoredFailsByItself,
    recordIsSavedAndDeletedOnceInARequest, subscriptionIsSavedOnceForAllMachines,
    listenerIsToldOfChangesOfOtherMachines, keyValuesAreOfWhoeverWroteLast,
    keyValuesAreAllThereAreForATokenThatIsNotTheStores, keyValuesHaveAQuota,
    publicRecordIsAddedOnce, operationThatWaitsIsCancelled, callThatGoesOnIsCancelled,
    operationFollowsWhatItDependsOn);

}  // namespace orvane::test
