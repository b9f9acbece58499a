#include <csignal>

#include <sys/wait.h>

#include "Tests/Apps/CompanionFixture.h"

namespace orvane::test {
namespace {

class InterruptedRebuild : public CompanionTest {
 protected:
  /// Starts a rebuild and does not wait for it.
  pid_t start() {
    const auto variables = environment();
    const pid_t child = ::fork();
    if (child != 0) return child;
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    std::freopen("/dev/null", "w", stdout);
    ::execl(program.c_str(), program.c_str(), "rebuild", nullptr);
    ::_exit(127);
  }

  std::string withRule(int number) {
    return "[" + package("mine", rule("r", "number" + std::to_string(number))) + "]";
  }
};

TEST_F(InterruptedRebuild, killAtAnyMomentLeavesAWholeListAndTheNextRebuildSucceeds) {
  ASSERT_EQ(orvane({"rebuild"}).exitStatus, 0);
  for (int round = 0; round < 12; ++round) {
    put(container() / "CustomPackages.json", withRule(round));
    const pid_t child = start();
    // A moment later each time, counted in reads of the list while the rebuild is under way.
    for (int reads = 0; reads < round * 12; ++reads) {
      ASSERT_TRUE(JSONDocument::parse(get(list())));
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_GE(urlFilters().size(), 500U);
  }
  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  EXPECT_EQ(urlFilters().back(), "number11");
  EXPECT_TRUE(browserHasTheList());
}

TEST_F(InterruptedRebuild, severalAtTheSameTimeEndWithTheListInForce) {
  put(container() / "CustomPackages.json", withRule(1));
  const pid_t children[] = {start(), start(), start()};
  for (const pid_t child : children) {
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(urlFilters().back(), "number1");
  EXPECT_TRUE(browserHasTheList());
}

TEST_F(InterruptedRebuild, fullDiskKeepsTheOldListAndWorkGoesOnAfterwards) {
  ASSERT_EQ(orvane({"rebuild"}).exitStatus, 0);
  const auto old = get(list());
  put(container() / "CustomPackages.json", withRule(1));
  // Enough for the settings, and not for the list.
  const auto run =
      runProgram({"sh", "-c", "trap '' XFSZ; ulimit -f 80; exec \"$0\" rebuild", program},
                 work.path(), environment());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, ::testing::HasSubstr("Cannot write '" + list().string() + "'"));
  EXPECT_THAT(run.errors, ::testing::EndsWith("orvane: The blocker list cannot be written.\n"));
  EXPECT_EQ(get(list()), old);

  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  EXPECT_EQ(urlFilters().back(), "number1");
}

}  // namespace
}  // namespace orvane::test
