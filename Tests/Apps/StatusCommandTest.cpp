#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

class StatusCommand : public ChangeTest {
 protected:
  void SetUp() override {
    // A rebuild needs the right that the test holds.
    companion_.reset();
    const auto run = orvane({"rebuild"});
    ASSERT_EQ(run.exitStatus, 0) << run.errors;
  }
};

TEST_F(StatusCommand, everythingIsWellAfterARebuild) {
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, MatchesRegex("Blocking is on\\.\n"
                                       "Packages:   12, 0 of them switched off\n"
                                       "Blockers:   [0-9]+ of at most 150000\n"
                                       "Rebuilt:    20[0-9]{2}-[01][0-9]-[0-3][0-9] [0-9:]{8}\n"
                                       "Companion:  not running\n"));
  EXPECT_THAT(run.output, HasSubstr("Blockers:   " + std::to_string(urlFilters().size()) + " of"));
}

TEST_F(StatusCommand, answersInJSON) {
  std::filesystem::last_write_time(
      list(), std::chrono::file_clock::from_sys(
                  std::chrono::sys_seconds(std::chrono::seconds(1'700'000'000))));
  EXPECT_THAT(orvane({"status", "--json"}).output,
              MatchesRegex("\\{\"state\":\"blocking\",\"packages\":12,\"disabledPackages\":0,"
                           "\"enabledBlockers\":[0-9]+,\"mostBlockers\":150000,"
                           "\"rebuilt\":\"2023-11-14T22:13:20Z\",\"companionRunning\":false,"
                           "\"problems\":\\[\\]\\}\n"));
}

TEST_F(StatusCommand, timeIsLocalInText) {
  std::filesystem::last_write_time(
      list(), std::chrono::file_clock::from_sys(
                  std::chrono::sys_seconds(std::chrono::seconds(1'700'000'000))));
  EXPECT_THAT(orvane({"status"}, {{"TZ", "XYZ-3"}}).output,
              HasSubstr("Rebuilt:    2023-11-15 01:13:20\n"));
}

TEST_F(StatusCommand, listThatWasNeverBuiltIsAProblem) {
  std::filesystem::remove(list());
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, AllOf(HasSubstr("Rebuilt:    never\n"),
                                HasSubstr("Problem:    The blocker list has never been built.\n")));
}

TEST_F(StatusCommand, switchedOffPackagesAreCounted) {
  orvane({"disable", "block-ads"});
  EXPECT_THAT(orvane({"status"}).output, HasSubstr("Packages:   12, 1 of them switched off\n"));
}

TEST_F(StatusCommand, listThatDiffersFromWhatIsWantedIsAProblem) {
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "x")) + "]");
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, HasSubstr("Problem:    The blocker list on disk is not what the packages "
                                    "and the preferences say.\n"));
  EXPECT_THAT(run.output, Not(HasSubstr("The browser does not have")));
}

TEST_F(StatusCommand, listThatTheBrowserDoesNotHaveIsAProblem) {
  std::filesystem::remove(container() / "CompiledLists/current");
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, HasSubstr("Problem:    The browser does not have the blocker list that "
                                    "is on disk.\n"));
  EXPECT_THAT(run.output, Not(HasSubstr("is not what")));
}

TEST_F(StatusCommand, pauseCountsAsWellOnceTheListIsEmpty) {
  setValue(settings(), "paused", true);
  EXPECT_EQ(orvane({"status"}).exitStatus, 1) << "the list still blocks";
  ASSERT_EQ(orvane({"rebuild"}).exitStatus, 0);
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 0) << run.output;
  EXPECT_THAT(run.output, HasSubstr("Blocking is paused.\n"));
  EXPECT_THAT(orvane({"status", "--json"}).output, HasSubstr("{\"state\":\"paused\","));
}

TEST_F(StatusCommand, blockerThatIsSwitchedOffInTheBrowserIsAProblem) {
  put(home / "config/orvane/browser.ini",
      "[Content Blockers]\ncom.tessaly.BlockerMac.BlockerMacExtension=false\n");
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("Blocking is off.\n"),
                    HasSubstr("The content blocker is switched off in the browser's settings.\n")));
  EXPECT_THAT(orvane({"status", "--json"}).output, HasSubstr("{\"state\":\"switched off\","));
}

TEST_F(StatusCommand, damagedFilesAreNamed) {
  put(container() / "CustomPackages.json", "[{\"id\":");
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output,
              HasSubstr("Problem:    '" + (container() / "CustomPackages.json").string() +
                        "' cannot be read in full"));
}

TEST_F(StatusCommand, whatTheCompanionSaysOfItsFailureIsShownLineByLine) {
  setValue(settings(), "CompanionStatus",
           PropertyListValue::Dictionary{{"attempt", "1"}, {"error", "Bad\x1B.\nSecond line."}});
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(
      run.output,
      HasSubstr("Problem:    The last attempt to give the browser its list has failed: Bad?.\n"
                "Problem:    Second line.\n"));
}

TEST_F(StatusCommand, runningCompanionIsSeen) {
  const auto held = SingleInstance::acquire(container() / "Companion.lock");
  ASSERT_TRUE(held && *held);
  EXPECT_THAT(orvane({"status"}).output, HasSubstr("Companion:  running\n"));
}

TEST_F(StatusCommand, unreadableSettingsAreAProblem) {
  std::filesystem::remove(settings().string() + "-wal");
  put(settings(), std::string(4096, 'x'));
  const auto run = orvane({"status"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, HasSubstr("The settings that Orvane's programs share cannot be opened."));
}

}  // namespace
}  // namespace orvane::test
