#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

/// How syncing goes, while no companion changes anything of it.
using SyncCommand = ChangeTest;

TEST_F(SyncCommand, saysThatNothingHasHappenedYet) {
  companion_.reset();
  const auto run = orvane({"sync"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output,
            "Account:    not asked yet\n"
            "Waiting:    nothing\n"
            "Last push:  never\n"
            "Last fetch: never\n"
            "Companion:  not running\n");
}

TEST_F(SyncCommand, countsWhatWaitsByKind) {
  orvane({"whitelist", "add", "a.example", "b.example"});
  EXPECT_THAT(
      orvane({"sync"}).output,
      HasSubstr("Waiting:    0 packages and 2 rules to save, 0 packages and 0 rules to delete\n"));
  orvane({"whitelist", "remove", "a.example"});
  EXPECT_THAT(
      orvane({"sync"}).output,
      HasSubstr("Waiting:    0 packages and 1 rule to save, 0 packages and 1 rule to delete\n"));
}

TEST_F(SyncCommand, saysWhatHasFailedAndWhenItWillBeTriedAgain) {
  setValue(settings(), "SyncStatus",
           PropertyListValue::Dictionary{{"account", "Available"},
                                         {"lastPush", std::int64_t{1'700'000'000}},
                                         {"lastError", "The server is away."},
                                         {"nextRetry", std::int64_t{1'700'000'060}}});
  const auto run = orvane({"sync"}, {{"TZ", "UTC"}});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output,
            "Account:    Available\n"
            "Waiting:    nothing\n"
            "Last push:  2023-11-14 22:13:20\n"
            "Last fetch: never\n"
            "Next retry: 2023-11-14 22:14:20\n"
            "Companion:  running\n");
  EXPECT_THAT(run.errors, HasSubstr("The server is away."));
}

TEST_F(SyncCommand, answersInJSON) {
  setValue(settings(), "SyncStatus",
           PropertyListValue::Dictionary{{"account", "Available"},
                                         {"lastFetch", std::int64_t{1'700'000'000}}});
  EXPECT_EQ(orvane({"sync", "--json"}).output,
            R"({"account":"Available","waiting":{"packagesToSave":0,"rulesToSave":0,)"
            R"("packagesToDelete":0,"rulesToDelete":0},"lastPush":"never",)"
            R"("lastFetch":"2023-11-14T22:13:20Z","lastError":"","nextRetry":"never",)"
            R"("companionRunning":true})"
            "\n");
}

TEST_F(SyncCommand, givesUpWaitingWhenTheTimeIsUp) {
  const auto run = orvane({"sync", "now", "--timeout", "1"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, HasSubstr("The sync has not ended after 1 s."));
}

/// With the companion.
class SyncNow : public CompanionTest {
 protected:
  std::string missingServer() { return "host=" + work.path().string() + " user=mia"; }
};

TEST_F(SyncNow, startsTheCompanionAndEndsWhenEverythingIsInTheCloud) {
  orvane({"whitelist", "add", "a.example"});
  const auto run = orvane({"sync", "now"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output, "Everything is the same here and in the cloud.\n");
  EXPECT_THAT(orvane({"sync"}).output, MatchesRegex("Account:    Available\n"
                                                    "Waiting:    nothing\n"
                                                    "Last push:  20[0-9: -]+\n"
                                                    "Last fetch: 20[0-9: -]+\n"
                                                    "Companion:  running\n"));
}

TEST_F(SyncNow, answersInJSON) {
  EXPECT_THAT(orvane({"sync", "now", "--json"}).output,
              AllOf(StartsWith(R"({"synced":true,"account":"Available",)"),
                    HasSubstr(R"("lastError":"")")));
}

TEST_F(SyncNow, saysWhyItIsNotPossibleAndKeepsWhatWaits) {
  const std::map<std::string, std::string> cloud{{"ORVANE_CLOUD", missingServer()}};
  orvane({"whitelist", "add", "a.example"}, cloud);
  const auto run = orvane({"sync", "now"}, cloud);
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, HasSubstr(work.path().string()));
  EXPECT_THAT(orvane({"sync"}, cloud).output, HasSubstr(" and 1 rule to save"));
}

TEST_F(SyncNow, sendsEverythingToAnotherCloud) {
  orvane({"whitelist", "add", "a.example"});
  ASSERT_EQ(orvane({"sync", "now"}).exitStatus, 0);
  endPrograms();
  const std::map<std::string, std::string> cloud{{"ORVANE_CLOUD", missingServer()}};
  EXPECT_EQ(orvane({"sync", "now"}, cloud).exitStatus, 1);
  EXPECT_THAT(orvane({"sync", "--json"}, cloud).output,
              HasSubstr(R"("waiting":{"packagesToSave":5,"rulesToSave":1,)"));
}

}  // namespace
}  // namespace orvane::test
