#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using RecordCounts = std::vector<std::size_t>;

class PushError : public ConnectedMachine {
 protected:
  void failWith(const CKError& error) {
    machine->cloud().failWith(CloudRequest::modifyRecords, error);
  }
  static CKItemID item(const std::string& name) { return CKRecordID{name, rulesZone}; }
  RecordCounts savedSizes() const {
    RecordCounts sizes;
    for (const auto& batch : batches) sizes.push_back(batch.recordsToSave.size());
    return sizes;
  }
  std::size_t retries() const {
    const auto& lines = machine->machine.standardOutput.lines;
    return static_cast<std::size_t>(std::ranges::count_if(
        lines, [](const auto& line) { return line.starts_with("Retrying"); }));
  }
};

using FatalRetry = PushError;

TEST_F(PushError, namesTheFirstRecordOfTheOperation) {
  queueRules(2);
  failWith(errorOf(CKErrorCode::internalError));
  push();
  EXPECT_THAT(take(), ElementsAre("Records to add/modify 2", "Records to delete 0",
                                  "Splitting data into 1 operations", "rule-0 It failed."));
}

TEST_F(PushError, namesTheFirstDeletionWhereNoRecordIsSaved) {
  set("DeletedRules", Array{"b", "a"});
  failWith(errorOf(CKErrorCode::internalError));
  push();
  EXPECT_THAT(take(), Contains("b It failed."));
}

TEST_F(PushError, goesByTheFirstOfTheItems) {
  queueRules(3);
  failWith(errorAbout(
      {{item("rule-1"), errorOf(CKErrorCode::requestRateLimited, 9, "Too much of this.")},
       {item("rule-0"), errorOf(CKErrorCode::invalidArguments, std::nullopt, "Not this.")}}));
  push();
  EXPECT_THAT(take(), ElementsAre("Records to add/modify 3", "Records to delete 0",
                                  "Splitting data into 1 operations", "rule-1 Too much of this.",
                                  retryLine(in(9s))));
  EXPECT_TRUE(isAdded("rule-0"));
}

TEST_F(PushError, thatMayPassIsTriedAgainAtTheTimeOfTheCloud) {
  for (const auto code : {CKErrorCode::networkFailure, CKErrorCode::serviceUnavailable,
                          CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy}) {
    queueRules(1);
    failWith(errorOf(code, 30));
    push();
    EXPECT_EQ(take().back(), retryLine(in(30s)));
    advance(30s - 1ns);
    EXPECT_TRUE(isAdded("rule-0"));
    advance(1ns);
    EXPECT_FALSE(isAdded("rule-0"));
  }
}

TEST_F(PushError, squaresTheDelayEachTime) {
  queueRules(1);
  for (int failure = 0; failure < 5; ++failure) failWith(errorOf(CKErrorCode::networkFailure));
  push();
  for (const auto delay : {2s, 4s, 16s, 256s, 65536s}) {
    EXPECT_EQ(take().back(), retryLine(in(delay)));
    EXPECT_TRUE(isAdded("rule-0"));
    advance(delay);
  }
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, squaresTheDelayAlsoWhenTheCloudSaysATime) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::requestRateLimited, 30));
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_EQ(take().back(), retryLine(in(30s)));
  advance(30s);
  EXPECT_EQ(take().back(), retryLine(in(4s)));
}

TEST_F(PushError, waitsWholeNanoseconds) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, 1.5000000009));
  push();
  EXPECT_EQ(take().back(), retryLine(in(1500000000ns)));
}

TEST_F(PushError, printsTheDeadlineAndNotTheDelay) {
  advance(10s);
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, 3));
  push();
  EXPECT_EQ(take().back(), "Retrying data push in DispatchTime(rawValue: 13000000000) secs ..");
}

TEST_F(PushError, isTriedAgainAtOnceWhenItsTimeIsOver) {
  advance(10s);
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, -3));
  push();
  EXPECT_EQ(count(retryLine(in(-3s))), 1U);
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, mayHaveADeadlineBehindTheEndOfTheClock) {
  advance(10s);
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, 9.22337203e9));
  push();
  EXPECT_EQ(take().back(), retryLine(Executor::Time::max()));
  EXPECT_TRUE(isAdded("rule-0"));
}

TEST_F(FatalRetry, ofATimeThatNoClockCanTellStopsTheProcess) {
  queueRules(1);
  const auto pushWith = [this](double seconds) {
    failWith(errorOf(CKErrorCode::networkFailure, seconds));
    push();
  };
  const auto* words =
      "Fatal error: The delay of a retry is out of range: file BlockerKit/SyncManager, line [0-9]+";
  EXPECT_DEATH(pushWith(9.3e9), words);
  EXPECT_DEATH(pushWith(-9.3e9), words);
  EXPECT_DEATH(pushWith(std::numeric_limits<double>::infinity()), words);
  EXPECT_DEATH(pushWith(std::numeric_limits<double>::quiet_NaN()), words);
}

TEST_F(FatalRetry, stopsTheProcessAfterSixWithoutATime) {
  queueRules(1);
  const auto fail = [this](int count) {
    for (int failure = 0; failure < count; ++failure) failWith(errorOf(CKErrorCode::zoneBusy));
    push();
    for (const auto delay : {2s, 4s, 16s, 256s, 65536s, 4294967296s}) advance(delay);
  };
  EXPECT_DEATH(fail(7), "The delay of a retry is out of range");
  fail(6);
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, isTriedAgainThoughAnotherPushHasFailedForGoodMeanwhile) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::requestRateLimited, 30));
  push();
  advance(5s);
  failWith(errorOf(CKErrorCode::quotaExceeded));
  push();
  EXPECT_TRUE(isAdded("rule-0"));
  advance(25s);
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, ofSeveralPushesIsTriedAgainAtTheFirstOfTheirTimes) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::requestRateLimited, 30));
  push();
  failWith(errorOf(CKErrorCode::requestRateLimited, 10));
  push();
  listRequests();
  advance(10s);
  EXPECT_FALSE(isAdded("rule-0"));
  queueRules(1);
  advance(1h);
  EXPECT_EQ(savedSizes(), (RecordCounts{1}));
}

TEST_F(PushError, thatNoSplittingEndsDoublesToTheGreatestNumber) {
  queueRules(1);
  for (int failure = 0; failure < 70; ++failure) failWith(errorOf(CKErrorCode::limitExceeded));
  push();
  EXPECT_EQ(count("Splitting data into 9223372036854775808 operations"), 1U);
  EXPECT_EQ(count("Splitting data into 18446744073709551614 operations"), 7U);
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, ofManyRequestsIsTriedAgainOnce) {
  queueRules(17);
  for (int failure = 0; failure < 17; ++failure) {
    failWith(errorOf(CKErrorCode::networkFailure, 3));
  }
  push(17);
  EXPECT_EQ(retries(), 17U);
  take();
  listRequests();
  advance(3s);
  EXPECT_EQ(count("Records to add/modify 17"), 1U);
  EXPECT_EQ(savedSizes(), (RecordCounts{17}));
  advance(1h);
  EXPECT_EQ(savedSizes(), (RecordCounts{17}));
}

TEST_F(PushError, isTriedAgainAlsoWhenAnotherPushHasSentEverything) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, 30));
  push();
  push();
  EXPECT_FALSE(isAdded("rule-0"));
  take();
  advance(1h);
  EXPECT_THAT(take(), ElementsAre("No local record changes to push"));
}

TEST_F(PushError, isNotTriedAgainAfterTheManagerHasEnded) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::networkFailure, 30));
  push();
  take();
  machine->sync.reset();
  advance(1h);
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(PushError, withoutASignInCancelsTheRest) {
  queueRules(3);
  failWith(errorOf(CKErrorCode::notAuthenticated));
  listRequests();
  push(3);
  EXPECT_EQ(savedSizes(), (RecordCounts{1}));
  EXPECT_THAT(take(), ElementsAre("Records to add/modify 3", "Records to delete 0",
                                  "Splitting data into 3 operations", "rule-0 It failed.",
                                  "rule-1 The operation was cancelled.",
                                  "rule-2 The operation was cancelled."));
  advance(1h);
  EXPECT_THAT(take(), IsEmpty());
  EXPECT_TRUE(isAdded("rule-0") && isAdded("rule-1") && isAdded("rule-2"));
}

TEST_F(PushError, withoutASignInLeavesTheAccountAsItIsKnown) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::notAuthenticated));
  push();
  take();
  push();
  EXPECT_THAT(take(), Each(Not("Checking account status...")));
}

TEST_F(PushError, aboutARecordThatCannotBeStoredForgetsItAndSendsTheOthers) {
  queueRules(2);
  set("DeletedRules", Array{"other"});
  failWith(errorAbout({{item("rule-0"), errorOf(CKErrorCode::invalidArguments)},
                       {item("rule-1"), errorOf(CKErrorCode::batchRequestFailed)}}));
  push();
  EXPECT_FALSE(isAdded("rule-0"));
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-1"));
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
}

TEST_F(PushError, thatIsInvalidAndNamesNoItemForgetsTheFirstRecord) {
  queueRules(2);
  failWith(errorOf(CKErrorCode::invalidArguments));
  push();
  EXPECT_FALSE(isAdded("rule-0"));
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-1"));
}

TEST_F(PushError, aboutANameThatIsQueuedTwiceForgetsItEverywhere) {
  queueRules(2);
  set("AddedPackages", Dictionary{{"rule-0", packageFields()}});
  set("DeletedRules", Array{"rule-0"});
  set("DeletedPackages", Array{"rule-0"});
  push();
  EXPECT_EQ(object("AddedPackages"), Value(Dictionary{}));
  EXPECT_FALSE(isAdded("rule-0"));
  EXPECT_EQ(object("DeletedRules"), Value(Array{}));
  EXPECT_EQ(object("DeletedPackages"), Value(Array{}));
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-1"));
}

TEST_F(PushError, aboutTheZoneSavesItAgainFirst) {
  queueRules(1);
  cloudSide.deleteZone();
  bool wasSaved = true;
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  auto flushes = before;
  std::vector<CloudRequest> order;
  machine->cloud().watch([&](CloudRequest request, const CloudBatch* /*batch*/) {
    order.push_back(request);
    if (request != CloudRequest::saveZone) return;
    wasSaved = zoneIsSaved();
    flushes = machine->machine.suiteAtRisk.synchronizations;
  });
  push();
  EXPECT_FALSE(wasSaved);
  EXPECT_EQ(flushes, before + 1);
  ASSERT_GE(order.size(), 2U);
  EXPECT_EQ(order[0], CloudRequest::modifyRecords);
  EXPECT_EQ(order[1], CloudRequest::saveZone);
  EXPECT_TRUE(zoneIsSaved());
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(PushError, ofTooManyRecordsHalvesThePieces) {
  queueRules(7);
  failWith(errorOf(CKErrorCode::limitExceeded));
  listRequests();
  push();
  EXPECT_EQ(savedSizes(), (RecordCounts{7, 3, 3, 1}));
  EXPECT_EQ(count("Splitting data into 2 operations"), 1U);
  EXPECT_FALSE(isAdded("rule-6"));
}

TEST_F(PushError, ofTooManyRecordsGoesOnFromTheCurrentPieces) {
  queueRules(8);
  failWith(errorOf(CKErrorCode::limitExceeded));
  listRequests();
  push(3);
  EXPECT_EQ(count("Splitting data into 6 operations"), 1U);
  EXPECT_THAT(cloudSide.names().size(), 8U);
}

TEST_F(PushError, ofMoreThanTheCloudTakesAtOnceEndsInPiecesThatItTakes) {
  queueRules(1000);
  push();
  EXPECT_EQ(cloudSide.names().size(), 1000U);
  EXPECT_EQ(object("AddedRules"), Value(Dictionary{}));
}

TEST_F(PushError, ofAnyOtherKindIsOnlyPrinted) {
  queueRules(1);
  for (const auto code : {CKErrorCode::internalError, CKErrorCode::badContainer,
                          CKErrorCode::permissionFailure, CKErrorCode::unknownItem,
                          CKErrorCode::serverRejectedRequest, CKErrorCode::operationCancelled,
                          CKErrorCode::batchRequestFailed, CKErrorCode::quotaExceeded}) {
    failWith(errorOf(code));
    listRequests();
    push();
    advance(1h);
    EXPECT_EQ(savedSizes(), (RecordCounts{1}));
    EXPECT_THAT(take(), ElementsAre("Records to add/modify 1", "Records to delete 0",
                                    "Splitting data into 1 operations", "rule-0 It failed."));
    EXPECT_TRUE(isAdded("rule-0"));
  }
  push();
  EXPECT_FALSE(isAdded("rule-0"));
}

TEST_F(PushError, aboutAConflictIsMergedAndSentAgain) {
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  machine->run();
  cloudSide.save(ruleRecord("a", "theirs"));
  machine->sync->ruleAdded(blockRule("a", "ours"), packageOf("block-url"));
  listRequests();
  machine->run();
  EXPECT_EQ(savedSizes(), (RecordCounts{1, 1}));
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
  EXPECT_FALSE(isAdded("a"));
}

TEST_F(PushError, aboutAConflictWithoutTheServersRecordLosesNothingAndEnds) {
  queueRules(2);
  failWith(errorAbout({{item("rule-0"), errorOf(CKErrorCode::serverRecordChanged)}}));
  listRequests();
  push();
  advance(1h);
  EXPECT_EQ(savedSizes(), (RecordCounts{2}));
  EXPECT_TRUE(isAdded("rule-0") && isAdded("rule-1"));
  push();
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0", "rule-1"));
}

TEST_F(PushError, doesNotGoRoundWhileTheQueueCannotBeWritten) {
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  machine->run();
  cloudSide.save(ruleRecord("a", "theirs"));
  set("AddedRules", Dictionary{{"a", blockFields("block-url", "ours")}});
  machine->machine.suiteAtRisk.isFull = true;
  const std::vector<std::optional<CKError>> errors{std::nullopt,  // the conflict
                                                   errorOf(CKErrorCode::invalidArguments),
                                                   errorOf(CKErrorCode::zoneNotFound)};
  for (const auto& error : errors) {
    if (error) failWith(*error);
    listRequests();
    push();
    EXPECT_THAT(requests, ElementsAre(CloudRequest::modifyRecords));
  }
  machine->machine.suiteAtRisk.isFull = false;
  push();
  EXPECT_EQ(cloudSide.text("a", "urlFilter"), "ours");
}

TEST_F(PushError, aboutARecordOfADeletedZoneLeavesItInTheQueue) {
  // The record has the change tag of the zone that was deleted; the new zone does not know it.
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  machine->run();
  cloudSide.deleteZone();
  machine->sync->ruleAdded(blockRule("a", "changed"), packageOf("block-url"));
  machine->run();
  advance(1h);
  push();
  EXPECT_THAT(take(), Contains("a There is no such record."));
  EXPECT_TRUE(zoneIsSaved());
  EXPECT_TRUE(isAdded("a"));
  EXPECT_THAT(cloudSide.names(), IsEmpty());
}

TEST_F(PushError, aboutARecordOfADeletedZoneHoldsBackWhatGoesWithIt) {
  machine->sync->ruleAdded(blockRule("a"), packageOf("block-url"));
  machine->run();
  cloudSide.deleteZone();
  machine->sync->ruleAdded(blockRule("a", "changed"), packageOf("block-url"));
  machine->sync->ruleAdded(blockRule("new"), packageOf("block-url"));
  machine->run();
  advance(1h);
  push();
  EXPECT_TRUE(isAdded("a") && isAdded("new"));
  EXPECT_THAT(cloudSide.names(), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
