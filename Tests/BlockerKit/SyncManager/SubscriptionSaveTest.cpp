#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

/// The account is known, and there is the zone.
class SubscriptionSave : public NewMachine {
 protected:
  SubscriptionSave() {
    cloudSide.saveZone();
    set("ZoneSaved", true);
    accountChanges();
    take();
  }
  void failWith(const CKError& error) {
    machine->cloud().failWith(CloudRequest::saveSubscription, error);
  }
  Value subscription() { return object("ZoneSubscribtionID"); }
};

TEST_F(SubscriptionSave, isRemembered) {
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Subscription saved successfully! ID: UUID-1"));
  EXPECT_EQ(subscription(), Value("UUID-1"));
  listRequests();
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush));
  EXPECT_TRUE(requests.empty());
}

TEST_F(SubscriptionSave, isFlushed) {
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  push();
  EXPECT_EQ(machine->machine.suiteAtRisk.synchronizations, before + 1);
}

TEST_F(SubscriptionSave, comesBeforeTheRecords) {
  queueRules(1);
  listRequests();
  push();
  EXPECT_THAT(requests, ElementsAre(CloudRequest::saveSubscription, CloudRequest::modifyRecords));
}

TEST_F(SubscriptionSave, hasTheMachineToldOfChanges) {
  push();
  std::vector<std::string> told;
  const auto listening = machine->cloud().connect("mia");
  listening->setListener([&](const CloudEvent& event) { told.push_back(event.subscriptionID); });
  cloudSide.save(ruleRecord("a"));
  EXPECT_THAT(told, ElementsAre("UUID-1"));
}

TEST_F(SubscriptionSave, isTriedAgainWhenTheCloudSaysSo) {
  for (const auto code : {CKErrorCode::networkFailure, CKErrorCode::serviceUnavailable,
                          CKErrorCode::requestRateLimited, CKErrorCode::zoneBusy}) {
    set("ZoneSubscribtionID", false);
    failWith(errorOf(code, 7));
    push();
    EXPECT_THAT(take(), ElementsAre(nothingToPush, "Couldn't save subscription It failed.",
                                    retryLine(in(7s))));
    failWith(errorAbout({{"id", errorOf(CKErrorCode::serverRejectedRequest, std::nullopt,
                                        "It is a duplicate of " + std::to_string(int(code)))}}));
    advance(7s);
    EXPECT_EQ(subscription(), Value(std::to_string(int(code))));
    take();
  }
}

TEST_F(SubscriptionSave, makesTheDelayTheFirstOneAgain) {
  failWith(errorOf(CKErrorCode::networkFailure));
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(2s))));
  advance(2s);
  EXPECT_THAT(take(), Contains(retryLine(in(4s))));
  advance(4s);
  take();
  set("ZoneSubscribtionID", false);
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(2s))));
}

TEST_F(SubscriptionSave, withoutASignInMakesTheAccountUnknownAndThePushPending) {
  queueRules(1);
  failWith(errorOf(CKErrorCode::notAuthenticated));
  push();
  EXPECT_THAT(take(), ElementsAre("Records to add/modify 1", "Records to delete 0",
                                  "Splitting data into 1 operations",
                                  "Couldn't save subscription It failed.",
                                  "rule-0 The operation was cancelled."));
  accountChanges();
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
  EXPECT_EQ(count("Records to add/modify 1"), 1U);
}

TEST_F(SubscriptionSave, withoutASignInAsksForTheAccountAgain) {
  failWith(errorOf(CKErrorCode::notAuthenticated));
  push();
  take();
  push();
  EXPECT_THAT(take(), Contains("Checking account status..."));
}

TEST_F(SubscriptionSave, ofOneThatIsThereTakesThatOne) {
  cloudSide.subscribe("another's");
  push();
  EXPECT_THAT(take(),
              ElementsAre(nothingToPush,
                          "Couldn't save subscription The subscription is a duplicate of another's",
                          "Subscription already exists (?) another's"));
  EXPECT_EQ(subscription(), Value("another's"));
}

TEST_F(SubscriptionSave, ofOneThatIsThereMakesTheDelayTheFirstOneAgain) {
  failWith(errorOf(CKErrorCode::networkFailure));
  push();
  cloudSide.subscribe("another's");
  advance(2s);
  set("ZoneSubscribtionID", false);
  failWith(errorOf(CKErrorCode::networkFailure));
  take();
  push();
  EXPECT_THAT(take(), Contains(retryLine(in(2s))));
}

TEST_F(SubscriptionSave, ofOneThatIsThereFindsItsIDInTheErrorOfTheItem) {
  failWith(errorAbout({{"id", errorOf(CKErrorCode::serverRejectedRequest, std::nullopt,
                                      "duplicate of the first")}}));
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Couldn't save subscription Some items failed.",
                                  "Subscription already exists (?) the first"));
  EXPECT_EQ(subscription(), Value("the first"));
}

TEST_F(SubscriptionSave, thatIsRejectedForAnotherReasonIsNotThere) {
  failWith(errorOf(CKErrorCode::serverRejectedRequest, std::nullopt, "It has no duplicate."));
  push();
  EXPECT_THAT(take(),
              ElementsAre(nothingToPush, "Couldn't save subscription It has no duplicate."));
  EXPECT_EQ(subscription(), std::nullopt);
}

TEST_F(SubscriptionSave, withoutTheZoneSavesThatAgain) {
  cloudSide.deleteZone();
  listRequests();
  push();
  EXPECT_THAT(take(), Contains("Couldn't save subscription There is no zone “BlockerRulesZone”."));
  ASSERT_GE(requests.size(), 2U);
  EXPECT_EQ(requests[0], CloudRequest::saveSubscription);
  EXPECT_EQ(requests[1], CloudRequest::saveZone);
  EXPECT_TRUE(zoneIsSaved());
  EXPECT_NE(subscription(), std::nullopt);
}

TEST_F(SubscriptionSave, withoutTheZoneForgetsTheZoneFirst) {
  cloudSide.deleteZone();
  const auto before = machine->machine.suiteAtRisk.synchronizations;
  bool wasSaved = true;
  auto flushes = before;
  during(CloudRequest::saveZone, [&] {
    wasSaved = zoneIsSaved();
    flushes = machine->machine.suiteAtRisk.synchronizations;
  });
  push();
  EXPECT_FALSE(wasSaved);
  EXPECT_EQ(flushes, before + 1);
}

TEST_F(SubscriptionSave, thatFailsOtherwiseLetsTheRecordsGo) {
  for (const auto code : {CKErrorCode::permissionFailure, CKErrorCode::quotaExceeded,
                          CKErrorCode::internalError, CKErrorCode::operationCancelled}) {
    queueRules(1);
    failWith(errorOf(code));
    push();
    EXPECT_THAT(take(), Contains("Local changes pushed successfully!"));
    EXPECT_EQ(subscription(), std::nullopt);
    EXPECT_FALSE(isAdded("rule-0"));
  }
}

}  // namespace
}  // namespace orvane::test
