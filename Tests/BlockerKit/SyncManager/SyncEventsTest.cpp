#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What whoever shows how a sync is going is told, as lines.
class EventsOfASync : public ConnectedMachine {
 protected:
  struct Line {
    std::string operator()(const SyncAccountEvent& event) const {
      return "account " + event.status;
    }
    std::string operator()(const SyncPushEvent& /*event*/) const { return "push"; }
    std::string operator()(const SyncFetchEvent& /*event*/) const { return "fetch"; }
    std::string operator()(const SyncFailureEvent& event) const {
      return "failure: " + event.description;
    }
    std::string operator()(const SyncRetryEvent& event) const {
      return fmt::format("retry in {} s", std::chrono::duration<double>(event.delay).count());
    }
  };

  EventsOfASync() { machine->events.clear(); }

  std::vector<std::string> told() {
    std::vector<std::string> lines;
    for (const auto& event : std::exchange(machine->events, {})) {
      lines.push_back(std::visit(Line(), event));
    }
    return lines;
  }
  void failWith(CloudRequest request, CKErrorCode code,
                std::optional<double> retryAfter = std::nullopt) {
    machine->cloud().failWith(request, errorOf(code, retryAfter));
  }
};

TEST_F(EventsOfASync, tellOfThePush) {
  queueRules(1);
  push();
  EXPECT_THAT(told(), ElementsAre("push"));
}

TEST_F(EventsOfASync, tellOfAFetchOnceAllPagesHaveCome) {
  cloudSide.save(ruleRecord("a"));
  cloudSide.save(ruleRecord("b"));
  machine->cloud().setPageSize(1);
  fetch();
  EXPECT_THAT(told(), ElementsAre("fetch"));
}

TEST_F(EventsOfASync, tellOfTheAccount) {
  machine->cloud().setAccountStatus(CKAccountStatus::noAccount);
  accountChanges();
  EXPECT_THAT(told(), ElementsAre("account No account"));
}

TEST_F(EventsOfASync, tellWhyTheAccountIsNotKnown) {
  failWith(CloudRequest::accountStatus, CKErrorCode::networkFailure);
  accountChanges();
  EXPECT_THAT(told(), ElementsAre("failure: It failed."));
}

TEST_F(EventsOfASync, tellOfAFetchThatFails) {
  failWith(CloudRequest::fetchChanges, CKErrorCode::networkFailure);
  fetch();
  EXPECT_THAT(told(), ElementsAre("failure: It failed."));
}

TEST_F(EventsOfASync, tellWhenAPushIsTriedAgain) {
  queueRules(1);
  failWith(CloudRequest::modifyRecords, CKErrorCode::networkFailure, 1.5);
  push();
  EXPECT_THAT(told(), ElementsAre("failure: It failed.", "retry in 1.5 s"));
  advance(2s);
  EXPECT_THAT(told(), ElementsAre("push"));
}

TEST_F(EventsOfASync, tellOfAPushThatIsNotTriedAgain) {
  queueRules(1);
  failWith(CloudRequest::modifyRecords, CKErrorCode::quotaExceeded);
  push();
  EXPECT_THAT(told(), ElementsAre("failure: It failed."));
}

TEST_F(EventsOfASync, saysNothingOfWhatIsPartOfTheWay) {
  queueRules(2);
  failWith(CloudRequest::modifyRecords, CKErrorCode::limitExceeded);
  push();
  EXPECT_THAT(told(), ElementsAre("push", "push"));
  push();
  EXPECT_THAT(told(), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
