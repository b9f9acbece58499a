#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/GLib/UUID.h"

namespace orvane::test {
namespace {

TEST(RandomUUID, hasTheStringFormInUpperCase) {
  EXPECT_THAT(randomUUID(),
              ::testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-"
                                      "[0-9A-F]{12}"));
}

TEST(RandomUUID, isAnotherOneEachTime) {
  std::set<std::string> seen;
  for (int count = 0; count < 1000; ++count) seen.insert(randomUUID());
  EXPECT_EQ(seen.size(), 1000U);
}

}  // namespace
}  // namespace orvane::test
