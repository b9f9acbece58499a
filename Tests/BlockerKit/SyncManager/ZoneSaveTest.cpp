#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* cancelled = "The operation was cancelled.";

/// The account is known, and there is a subscription.
class ZoneSave : public NewMachine {
 protected:
  ZoneSave() {
    set("ZoneSubscribtionID", "mine");
    accountChanges();
    take();
  }
  void failWith(const CKError& error) { machine->cloud().failWith(CloudRequest::saveZone, error); }
};

TEST_F(ZoneSave, isRemembered) {
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Zone saved successfully!",
                                  "Fetching from remote changes...",
                                  "Finished remote changes fetch", nothingToPush));
  EXPECT_EQ(object("ZoneSaved"), Value(true));
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush));
}

TEST_F(ZoneSave, isFlushedBeforeTheFetch) {
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  auto atFetch = before;
  during(CloudRequest::fetchChanges,
         [&] { atFetch = machine->machine.suiteAtRisk.synchronizations; });
  push();
  EXPECT_EQ(atFetch, before + 1);
}

TEST_F(ZoneSave, comesBeforeAllElseOfThePush) {
  set("ZoneSubscribtionID", false);
  queueRules(2);
  listRequests();
  push(2);
  ASSERT_FALSE(requests.empty());
  EXPECT_EQ(requests.front(), CloudRequest::saveZone);
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0", "rule-1"));
}

TEST_F(ZoneSave, bringsWhatOtherMachinesHaveSaved) {
  cloudSide.saveZone();
  cloudSide.save(ruleRecord("a"));
  push();
  EXPECT_THAT(machine->rules().value(), ElementsAre("a"));
}

TEST_F(ZoneSave, ofAZoneThatIsThereCountsAsASuccess) {
  cloudSide.saveZone();
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Couldn't save zone The zone is there already.",
                                  "Zone already exists (?)", "Zone saved successfully!",
                                  "Fetching from remote changes...",
                                  "Finished remote changes fetch", nothingToPush));
  EXPECT_TRUE(zoneIsSaved());
}

TEST_F(ZoneSave, isTriedAgainWhenTheCloudSaysSo) {
  for (const auto code : {CKErrorCode::networkFailure, CKErrorCode::serviceUnavailable,
                          CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy}) {
    set("ZoneSaved", false);
    failWith(errorOf(code, 7));
    push();
    EXPECT_THAT(take(),
                ElementsAre(nothingToPush, "Couldn't save zone It failed.", retryLine(in(7s))));
    advance(7s - 1ns);
    EXPECT_FALSE(zoneIsSaved());
    advance(1ns);
    EXPECT_TRUE(zoneIsSaved());
    take();
  }
}

TEST_F(ZoneSave, isTriedAgainAfterTheCurrentDelayWhenTheCloudSaysNoTime) {
  failWith(errorOf(CKErrorCode::networkFailure));
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(2s))));
  advance(2s);
  EXPECT_THAT(take(), Contains(retryLine(in(4s))));
  EXPECT_FALSE(zoneIsSaved());
  advance(4s);
  EXPECT_TRUE(zoneIsSaved());
}

TEST_F(ZoneSave, makesTheDelayTheFirstOneAgain) {
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  advance(2s);
  take();
  set("ZoneSaved", false);
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(2s))));
}

TEST_F(ZoneSave, withoutASignInMakesTheAccountUnknownAndThePushPending) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::notAuthenticated));
  listRequests();
  push();
  EXPECT_THAT(take(),
              ElementsAre("Records to add/modify 1", "Records to delete 0",
                          "Splitting data into 1 operations", "Couldn't save zone It failed.",
                          "rule-0 The operation was cancelled."));
  EXPECT_THAT(requests, ElementsAre(CloudRequest::saveZone));
  accountChanges();
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(ZoneSave, withoutASignInHasTheNextPushAskForTheAccount) {
  failWith(errorOf(CKErrorCode::notAuthenticated));
  push();
  take();
  push();
  EXPECT_THAT(take(), Contains("Checking account status..."));
}

TEST_F(ZoneSave, thatFailsOtherwiseCancelsThePush) {
  for (const auto code : {CKErrorCode::permissionFailure, CKErrorCode::quotaExceeded,
                          CKErrorCode::zoneNotFound, CKErrorCode::internalError}) {
    queueRules(1);
    failWith(errorOf(code));
    listRequests();
    push();
    EXPECT_THAT(requests, ElementsAre(CloudRequest::saveZone));
    EXPECT_EQ(count("Couldn't save zone It failed."), 1U);
    EXPECT_EQ(count(std::string("rule-0 ") + cancelled), 1U);
    EXPECT_FALSE(zoneIsSaved());
    take();
  }
  push();
  EXPECT_TRUE(zoneIsSaved());
}

TEST_F(ZoneSave, thatFailsForTheZoneItselfGoesByThatError) {
  failWith(errorAbout({{"BlockerRulesZone", errorOf(CKErrorCode::serverRejectedRequest)}}));
  push();
  EXPECT_THAT(take(), Contains("Couldn't save zone Some items failed."));
  EXPECT_TRUE(zoneIsSaved());
}

TEST_F(ZoneSave, thatFailsForTheZoneItselfIsTriedAgainAtItsTime) {
  failWith(errorAbout({{"BlockerRulesZone", errorOf(CKErrorCode::zoneBusy, 5)}}));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(5s))));
}

TEST_F(ZoneSave, thatIsCancelledByTheNextPushDoesNotCancelThatOne) {
  queueRules(1);
  machine->sync->pushAllLocalUpdates(1);
  machine->sync->pushAllLocalUpdates(1);
  machine->run();
  EXPECT_EQ(count(std::string("Couldn't save zone ") + cancelled), 1U);
  EXPECT_TRUE(zoneIsSaved());
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(ZoneSave, whoseAnswerIsLostIsFoundToBeThere) {
  machine->cloud().loseAnswer();
  push();
  EXPECT_FALSE(zoneIsSaved());
  advance(1s);
  EXPECT_THAT(take(), Contains("Zone already exists (?)"));
  EXPECT_TRUE(zoneIsSaved());
}

TEST_F(ZoneSave, thatCannotBeRememberedIsMadeAgain) {
  during(CloudRequest::saveZone, [this] { machine->machine.suiteAtRisk.fails = true; });
  push();
  machine->machine.suiteAtRisk.fails = false;
  EXPECT_FALSE(zoneIsSaved());
  push();
  EXPECT_TRUE(zoneIsSaved());
}

}  // namespace
}  // namespace orvane::test
