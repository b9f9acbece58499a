#include <csignal>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Platform/Foundation/FatalError.h"

namespace orvane {
namespace {

TEST(FatalErrorDeathTest, PrintsTheMessageTheSourceAndTheCallersLineAndAborts) {
  constexpr int line = __LINE__ + 1;
  EXPECT_EXIT(
      fatalError("Index out of range", "BlockerKit/Model"), testing::KilledBySignal(SIGABRT),
      fmt::format("^Fatal error: Index out of range: file BlockerKit/Model, line {}\n$", line));
}

TEST(FatalErrorDeathTest, PrintsTheLineThatItIsGiven) {
  EXPECT_EXIT(fatalError("", "a/b", 7), testing::KilledBySignal(SIGABRT),
              "^Fatal error: : file a/b, line 7\n$");
}

TEST(FatalErrorDeathTest, BracesInAMessageAreText) {
  EXPECT_EXIT(fatalError("{} {0}", "{}", 1), testing::KilledBySignal(SIGABRT),
              "^Fatal error: \\{\\} \\{0\\}: file \\{\\}, line 1\n$");
}

}  // namespace
}  // namespace orvane
