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

class AccountStatus : public NewMachine {
 protected:
  AccountStatus() {
    set("ZoneSubscribtionID", "mine");
    set("ZoneSaved", true);
    cloudSide.saveZone();
  }
  /// The status is known, and a push was withheld because of it.
  void withhold() {
    machine->cloud().setAccountStatus(CKAccountStatus::noAccount);
    push();
    push();
    take();
  }
};

TEST(SyncQueue, runsOneRequestAtATime) {
  const auto properties = SyncManager::queueProperties();
  EXPECT_EQ(properties.name, "Schedule CloudKit requests");
  EXPECT_EQ(properties.maxConcurrentOperationCount, 1U);
  EXPECT_EQ(properties.qualityOfService, NSQualityOfService::utility);
}

TEST(SyncQueue, isOfTheApplicationsContainer) {
  EXPECT_STREQ(SyncManager::containerIdentifier, "iCloud.com.tessaly.Blocker");
  EXPECT_EQ(SyncManager::defaultRequestDelay, 2.0);
}

TEST_F(AccountStatus, isAskedForByTheFirstPush) {
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Checking account status...",
                                  "Current account status: Available"));
}

TEST_F(AccountStatus, isRemembered) {
  push();
  take();
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush));
}

TEST_F(AccountStatus, isPrintedInWords) {
  const std::vector<std::pair<CKAccountStatus, std::string>> words{
      {CKAccountStatus::couldNotDetermine, "Could not determine"},
      {CKAccountStatus::available, "Available"},
      {CKAccountStatus::restricted, "Restricted"},
      {CKAccountStatus::noAccount, "No account"}};
  for (const auto& [status, word] : words) {
    machine->cloud().setAccountStatus(status);
    accountChanges();
    EXPECT_THAT(take(), ElementsAre("Account status changed!", "Checking account status...",
                                    "Current account status: " + word));
  }
}

TEST_F(AccountStatus, thatIsUnknownLetsThePushGoOnWhateverTheAnswerIs) {
  for (const auto status : {CKAccountStatus::couldNotDetermine, CKAccountStatus::restricted,
                            CKAccountStatus::noAccount}) {
    machine->cloud().setAccountStatus(status);
    restart();
    queueRules(1);
    listRequests();
    push();
    EXPECT_THAT(requests, ElementsAre(CloudRequest::accountStatus, CloudRequest::modifyRecords));
  }
}

TEST_F(AccountStatus, thatCannotBeAskedForStaysUnknownAndLetsThePushGoOn) {
  queueRules(1);
  machine->cloud().failWith(CloudRequest::accountStatus,
                            errorOf(CKErrorCode::networkFailure, 1, "Nobody is there."));
  push();
  EXPECT_THAT(take(), Contains("Nobody is there."));
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
  push();
  EXPECT_THAT(take(), Contains("Checking account status..."));
}

TEST_F(AccountStatus, otherThanAvailableWithholdsAPush) {
  machine->cloud().setAccountStatus(CKAccountStatus::noAccount);
  push();
  queueRules(1);
  take();
  listRequests();
  push();
  EXPECT_THAT(take(),
              ElementsAre("Records to add/modify 1", "Records to delete 0",
                          "Splitting data into 1 operations", "Account status: No account"));
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(AccountStatus, thatBecomesAvailableSendsAWithheldPushOnce) {
  withhold();
  queueRules(1);
  machine->cloud().setAccountStatus(CKAccountStatus::available);
  listRequests();
  accountChanges();
  EXPECT_THAT(requests, ElementsAre(CloudRequest::accountStatus, CloudRequest::modifyRecords));
  EXPECT_EQ(count("Records to add/modify 1"), 1U);
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0"));
}

TEST_F(AccountStatus, thatChangesTwiceSendsAWithheldPushOnce) {
  withhold();
  queueRules(1);
  machine->cloud().setAccountStatus(CKAccountStatus::available);
  machine->machine.notificationCenter.post({.name = CKAccountChanged});
  accountChanges();
  EXPECT_EQ(count("Records to add/modify 1"), 1U);
}

TEST_F(AccountStatus, thatStaysUnavailableKeepsThePushWithheld) {
  withhold();
  machine->cloud().setAccountStatus(CKAccountStatus::restricted);
  accountChanges();
  EXPECT_THAT(take(), Each(Not(nothingToPush)));
  machine->cloud().setAccountStatus(CKAccountStatus::available);
  accountChanges();
  EXPECT_THAT(take(), Contains(nothingToPush));
}

TEST_F(AccountStatus, isOnlyRefreshedWhenNoPushIsWithheld) {
  push();
  take();
  listRequests();
  accountChanges();
  EXPECT_THAT(take(), ElementsAre("Account status changed!", "Checking account status...",
                                  "Current account status: Available"));
  EXPECT_THAT(requests, ElementsAre(CloudRequest::accountStatus));
  push();
  EXPECT_THAT(take(), ElementsAre(nothingToPush));
}

TEST_F(AccountStatus, thatIsAvailableClearsWhatWasWithheld) {
  withhold();
  machine->cloud().setAccountStatus(CKAccountStatus::available);
  accountChanges();
  take();
  accountChanges();
  EXPECT_THAT(take(), Each(Not(nothingToPush)));
}

TEST_F(AccountStatus, isAskedForWhoeverTellsOfAChange) {
  machine->machine.notificationCenter.post({.name = CKAccountChanged, .object = "somebody"});
  machine->run();
  EXPECT_THAT(take(), Contains("Current account status: Available"));
}

TEST_F(AccountStatus, isUnknownAgainWhenTheChangeCannotBeAskedFor) {
  push();
  machine->cloud().failWith(CloudRequest::accountStatus, errorOf(CKErrorCode::networkFailure));
  accountChanges();
  EXPECT_THAT(take(), Contains("It failed."));
  push();
  EXPECT_THAT(take(), Contains("Checking account status..."));
}

TEST_F(AccountStatus, thatComesLateDoesNotBringAnEarlierPushBack) {
  // Two pushes ask; a third one, which knows the first answer, comes before the second answer.
  queueRules(1);
  std::size_t asked = 0;
  machine->cloud().watch([&](CloudRequest request, const CloudBatch* /*batch*/) {
    if (request != CloudRequest::accountStatus || ++asked != 2) return;
    queueRules(2);
    machine->sync->pushAllLocalUpdates(1);
  });
  machine->sync->pushAllLocalUpdates(1);
  push();
  EXPECT_EQ(asked, 2U);
  EXPECT_THAT(cloudSide.names(), ElementsAre("rule-0", "rule-1"));
}

TEST_F(AccountStatus, isNobodysAfterTheManagerHasEnded) {
  machine->sync->pushAllLocalUpdates(1);
  ASSERT_TRUE(machine->machine.time.runOne());
  machine->sync.reset();
  machine->run();
  EXPECT_THAT(take(), ElementsAre(nothingToPush, "Checking account status..."));
}

}  // namespace
}  // namespace orvane::test
