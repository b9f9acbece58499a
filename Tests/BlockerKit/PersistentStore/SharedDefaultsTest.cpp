#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/PersistentStore/SharedDefaults.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;

TEST(SharedDefaults, AreTheSuiteOfTheApplicationGroup) {
  TestPlatform machine;
  EXPECT_EQ(&sharedUserDefaults(machine.platform), &machine.suite());
  EXPECT_THAT(machine.openedSuites, ElementsAre("Q4XR7T2M9V.com.tessaly.Blocker"));
}

TEST(SharedDefaults, AreTheStandardOnesWhenTheSuiteCannotBeOpened) {
  TestPlatform machine;
  machine.canOpenSuite = false;
  EXPECT_EQ(&sharedUserDefaults(machine.platform), &machine.standardUserDefaults);
}

}  // namespace
}  // namespace orvane::test
