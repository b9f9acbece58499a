#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Process/CloudEvents.h"
#include "Process/Process.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::Contains;

/// Hands a listener over, and lets a test tell it something.
class TellingCloud final : public CloudBackend {
 public:
  explicit TellingCloud(CloudBackend& inner) : inner_(inner) {}

  CKResult<CKAccountStatus> accountStatus(const CloudCall& call) override {
    return inner_.accountStatus(call);
  }
  CKResult<void> saveZone(const CKRecordZoneID& zoneID, const CloudCall& call) override {
    return inner_.saveZone(zoneID, call);
  }
  CKResult<void> deleteZone(const CKRecordZoneID& zoneID, const CloudCall& call) override {
    return inner_.deleteZone(zoneID, call);
  }
  CKResult<void> saveSubscription(const CKSubscription& subscription,
                                  const CloudCall& call) override {
    return inner_.saveSubscription(subscription, call);
  }
  CKResult<CloudBatchResult> modifyRecords(const CloudBatch& batch,
                                           const CloudCall& call) override {
    return inner_.modifyRecords(batch, call);
  }
  CKResult<CloudChanges> fetchChanges(const CKRecordZoneID& zoneID,
                                      const std::optional<CKServerChangeToken>& token,
                                      std::size_t limit, const CloudCall& call) override {
    ++fetches;
    return inner_.fetchChanges(zoneID, token, limit, call);
  }
  CKResult<CloudKeyValues> exchangeKeyValues(const CloudKeyValueChanges& changes,
                                             const std::optional<CKServerChangeToken>& token,
                                             const CloudCall& call) override {
    return inner_.exchangeKeyValues(changes, token, call);
  }
  CKResult<void> addPublicRecord(const CKRecord& record, const CloudCall& call) override {
    return inner_.addPublicRecord(record, call);
  }
  void setListener(std::function<void(const CloudEvent&)> told) override {
    listener = std::move(told);
  }

  std::function<void(const CloudEvent&)> listener;
  int fetches = 0;

 private:
  CloudBackend& inner_;
};

Platform withCloud(const Platform& platform, CloudBackend& cloud) {
  return {platform.fileManager,
          platform.mainBundle,
          platform.notificationCenter,
          platform.urlLoader,
          platform.makeUUID,
          platform.standardOutput,
          platform.systemLog,
          platform.mainQueue,
          platform.makeSerialQueue,
          platform.userDefaultsSuite,
          platform.standardUserDefaults,
          platform.ubiquitousStore,
          platform.contentBlockerManager,
          platform.workspace,
          cloud,
          platform.cloudQueue};
}

class EventsOfTheCloud : public ::testing::Test {
 protected:
  void tell(CloudEvent::Kind kind) { cloud.listener({kind, "subscription"}); }

  TestPlatform machine;
  TellingCloud cloud{*machine.cloud};
  Platform platform = withCloud(machine.platform, cloud);
  Process process{platform, {.cloud = SyncManager::Cloud::container}};
  int keyValueChanges = 0;
  std::optional<CloudEvents> events{std::in_place, platform, process.syncManager(),
                                    [this] { ++keyValueChanges; }};
};

TEST_F(EventsOfTheCloud, ASilentPushIsFollowedByAFetch) {
  tell(CloudEvent::Kind::zoneChanged);
  EXPECT_EQ(cloud.fetches, 0) << "inside the call that tells it";
  machine.time.runUntilIdle();
  EXPECT_EQ(cloud.fetches, 1);
}

TEST_F(EventsOfTheCloud, SilentPushesWaitForTheEndOfAPushAndAreOne) {
  process.syncManager().update({});
  while (!process.syncManager().isPushing()) ASSERT_TRUE(machine.time.runOne());
  tell(CloudEvent::Kind::zoneChanged);
  tell(CloudEvent::Kind::zoneChanged);
  machine.time.runUntilIdle();
  const int fetches = cloud.fetches;
  EXPECT_EQ(fetches, 1) << "that of the zone that was saved";
  machine.time.advance(CloudEvents::patience);
  EXPECT_EQ(cloud.fetches, fetches + 1);
  machine.time.advance(10 * CloudEvents::patience);
  EXPECT_EQ(cloud.fetches, fetches + 1);
}

TEST_F(EventsOfTheCloud, SilentPushesWaitForTheEndOfAFetchAndAreOne) {
  for (int i = 0; i < 5; ++i) tell(CloudEvent::Kind::zoneChanged);
  machine.time.runUntilIdle();
  EXPECT_EQ(cloud.fetches, 1);
  machine.time.advance(CloudEvents::patience);
  EXPECT_EQ(cloud.fetches, 2);
  machine.time.advance(10 * CloudEvents::patience);
  EXPECT_EQ(cloud.fetches, 2);
}

TEST_F(EventsOfTheCloud, AChangeOfTheAccountIsNotified) {
  int notified = 0;
  const auto observation = machine.notificationCenter.addObserver(
      CKAccountChanged, [&](const NSNotification&) { ++notified; });
  tell(CloudEvent::Kind::accountChanged);
  machine.time.runUntilIdle();
  EXPECT_EQ(notified, 1);
  EXPECT_THAT(machine.standardOutput.lines, Contains("Account status changed!"));
}

TEST_F(EventsOfTheCloud, AChangeOfTheKeyValueStoreIsPassedOn) {
  tell(CloudEvent::Kind::keyValuesChanged);
  machine.time.runUntilIdle();
  EXPECT_EQ(keyValueChanges, 1);
  EXPECT_EQ(cloud.fetches, 0);
}

TEST_F(EventsOfTheCloud, NothingIsPassedOnAfterTheEnd) {
  tell(CloudEvent::Kind::zoneChanged);
  tell(CloudEvent::Kind::keyValuesChanged);
  events.reset();
  EXPECT_FALSE(cloud.listener);
  machine.time.runUntilIdle();
  EXPECT_EQ(cloud.fetches, 0);
  EXPECT_EQ(keyValueChanges, 0);
}

}  // namespace
}  // namespace orvane::test
