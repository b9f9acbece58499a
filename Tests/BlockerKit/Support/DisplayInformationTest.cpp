#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "BlockerKit/Support/DisplayInformation.h"

namespace orvane {
namespace {

using UserInfo = decltype(NSNotification::userInfo);

UserInfo infoOf(const char* message, bool warning) {
  return {{"message", std::string(message)}, {"warning", warning}};
}

TEST(DisplayInformationTest, DeliversTheMessageAndThatItIsAWarning) {
  NSNotificationCenter center;
  std::vector<NSNotification> received;
  const auto observation = center.addObserver(
      "DisplayInformation", [&](const auto& notification) { received.push_back(notification); });
  displayInformation(center, "CSS Selector is empty", /*warning=*/true);
  ASSERT_EQ(received.size(), 1U);
  EXPECT_EQ(received[0].name, "DisplayInformation");
  EXPECT_EQ(received[0].userInfo, infoOf("CSS Selector is empty", true));
}

TEST(DisplayInformationTest, PlainInformationHasTheWarningEntryToo) {
  NSNotificationCenter center;
  UserInfo received;
  const auto observation =
      center.addObserver(displayInformationNotification,
                         [&](const auto& notification) { received = notification.userInfo; });
  displayInformation(center, "", /*warning=*/false);
  EXPECT_EQ(received, infoOf("", false));
}

TEST(DisplayInformationTest, IsDeliveredBeforeTheCallReturnsOnTheCallersThread) {
  NSNotificationCenter center;
  std::thread::id deliveredOn;
  const auto observation = center.addObserver(displayInformationNotification, [&](const auto&) {
    deliveredOn = std::this_thread::get_id();
  });
  std::thread poster([&] {
    displayInformation(center, "m", false);
    EXPECT_EQ(deliveredOn, std::this_thread::get_id());
  });
  poster.join();
}

TEST(DisplayInformationTest, NoObserverIsNoError) {
  NSNotificationCenter center;
  EXPECT_NO_THROW(displayInformation(center, "m", true));
}

}  // namespace
}  // namespace orvane
