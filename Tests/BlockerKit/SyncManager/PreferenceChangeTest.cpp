#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/BlockerKit/SyncManager/ConnectedMachine.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PreferenceChange : public NewMachine {
 protected:
  void preferencesChange() {
    machine->machine.notificationCenter.post(
        {.name = NSUbiquitousKeyValueStoreDidChangeExternallyNotification});
  }
  int synchronizations() const { return machine->machine.ubiquitousAtRisk.synchronizations; }

  std::vector<std::string> events;
  NSNotificationCenter::Observation observation = machine->machine.notificationCenter.addObserver(
      "RemotePreferenceSync", [this](const NSNotification& notification) {
        EXPECT_EQ(notification.object, "");
        EXPECT_EQ(synchronizations(), 1);
        EXPECT_EQ(machine->preferenceReloads, 0U);
        events.push_back(notification.name);
      });
};

TEST_F(PreferenceChange, isToldOfOnceItIsReadAndBeforeTheListIsBuilt) {
  preferencesChange();
  EXPECT_THAT(take(), ElementsAre("Ubiq store got remote changes!"));
  EXPECT_EQ(synchronizations(), 1);
  EXPECT_THAT(events, ElementsAre("RemotePreferenceSync"));
  EXPECT_EQ(machine->preferenceReloads, 1U);
}

TEST_F(PreferenceChange, isOnlyPrintedWhenPreferencesStayOnThisMachine) {
  set("StorePreferencesLocally", true);
  preferencesChange();
  EXPECT_THAT(take(), ElementsAre("Ubiq store got remote changes!"));
  EXPECT_EQ(synchronizations(), 0);
  EXPECT_THAT(events, IsEmpty());
  EXPECT_EQ(machine->preferenceReloads, 0U);
}

TEST_F(PreferenceChange, asksTheCloudForNoRecords) {
  listRequests();
  preferencesChange();
  machine->run();
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(PreferenceChange, isNobodysAfterTheManagerHasEnded) {
  machine->sync.reset();
  preferencesChange();
  EXPECT_THAT(take(), IsEmpty());
}

}  // namespace
}  // namespace orvane::test
