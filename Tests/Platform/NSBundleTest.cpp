#include <gtest/gtest.h>

#include "Platform/Foundation/NSBundle.h"
#include "Tests/Support/TestPlatform.h"

namespace orvane::test {
namespace {

TEST(NSBundleTest, FindsAResourceByNameAndExtension) {
  TestPlatform machine;
  machine.fileSystem.put("/bundle/block-ads.json", "{}", 1);
  EXPECT_EQ(machine.mainBundle.pathForResource("block-ads", "json"), "/bundle/block-ads.json");
}

TEST(NSBundleTest, AMissingResourceHasNoPath) {
  TestPlatform machine;
  machine.fileSystem.put("/bundle/block-ads.json", "{}", 1);
  machine.fileSystem.put("/elsewhere/other.json", "{}", 1);
  EXPECT_EQ(machine.mainBundle.pathForResource("block-ads", "txt"), std::nullopt);
  EXPECT_EQ(machine.mainBundle.pathForResource("block", "json"), std::nullopt);
  EXPECT_EQ(machine.mainBundle.pathForResource("Block-Ads", "json"), std::nullopt);
  EXPECT_EQ(machine.mainBundle.pathForResource("other", "json"), std::nullopt);
}

TEST(NSBundleTest, SeesAResourceThatCameLater) {
  TestPlatform machine;
  EXPECT_EQ(machine.mainBundle.pathForResource("a", "json"), std::nullopt);
  machine.fileSystem.put("/bundle/a.json", "", 1);
  EXPECT_EQ(machine.mainBundle.pathForResource("a", "json"), "/bundle/a.json");
}

}  // namespace
}  // namespace orvane::test
