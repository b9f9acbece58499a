#include <sys/stat.h>

#include "Tests/Apps/CompanionFixture.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

class Rebuild : public CompanionTest {};

TEST_F(Rebuild, freshUserGetsTheListOfThePreinstalledPackages) {
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_THAT(run.output,
              MatchesRegex("The browser has the new list: [0-9]+ rules from 12 packages "
                           "\\([0-9]+\\.[0-9] s\\)\\.\n"));
  EXPECT_EQ(run.errors, "");
  EXPECT_GE(urlFilters().size(), 500U);
  EXPECT_THAT(run.output, HasSubstr(std::to_string(urlFilters().size()) + " rules"));
  EXPECT_TRUE(browserHasTheList());
}

TEST_F(Rebuild, productsOwnLinesGoToTheLogAndNotToTheAnswer) {
  orvane({"rebuild"});
  EXPECT_THAT(diagnostics(), HasSubstr("PreinstalledPackages.json is in Shared Container.\n"));
  EXPECT_THAT(diagnostics(),
              HasSubstr("blockers to Safari JSON file in shared container: " + list().string()));
}

TEST_F(Rebuild, everythingItMakesBelongsToTheUserAlone) {
  orvane({"rebuild"});
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
    struct stat status {};
    ASSERT_EQ(::stat(entry.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, entry.is_directory() ? 0700U : 0600U) << entry.path();
    ++count;
  }
  EXPECT_GT(count, 5U);
}

TEST_F(Rebuild, usersRulesComeAfterThePreinstalledOnesAndTheWhitelistLast) {
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "custom")) + "]");
  put(container() / "ConfigurablePackages.json",
      "[" + package("whitelist", rule("w", "white")) + "," +
          package("block-url", rule("u", "url")) + "," + package("make-https", rule("h", "https")) +
          "]");
  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  auto filters = urlFilters();
  ASSERT_GT(filters.size(), 4U);
  filters.erase(filters.begin(), filters.end() - 4);
  EXPECT_THAT(filters, ::testing::ElementsAre("url", "https", "custom", "white"));
}

TEST_F(Rebuild, newListReplacesTheOldOne) {
  orvane({"rebuild"});
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "custom")) + "]");
  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  EXPECT_EQ(urlFilters().back(), "custom");
  EXPECT_TRUE(browserHasTheList());
}

TEST_F(Rebuild, unchangedListIsNotCompiledAgain) {
  orvane({"rebuild"});
  const auto before = std::filesystem::last_write_time(container() / "CompiledLists/current");
  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  EXPECT_EQ(std::filesystem::last_write_time(container() / "CompiledLists/current"), before);
}

TEST_F(Rebuild, ruleWithoutAnIdIsWrittenBackOnceWithOne) {
  put(container() / "CustomPackages.json",
      R"([{"id":"mine","name":"","rules":[{"content":{"trigger":{"url-filter":"x"},)"
      R"("action":{"type":"block"}}}]}])");
  orvane({"rebuild"});
  const auto settled = get(container() / "CustomPackages.json");
  EXPECT_THAT(settled, MatchesRegex(".*\"rules\":\\[\\{\"id\":\"[0-9A-F-]{36}\".*"));
  orvane({"rebuild"});
  EXPECT_EQ(get(container() / "CustomPackages.json"), settled);
}

TEST_F(Rebuild, refusedListLeavesTheLastGoodOneInForce) {
  orvane({"rebuild"});
  const auto current = get(container() / "CompiledLists/current");
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "a|b")) + "]");
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, HasSubstr("orvane: The browser did not take the list: "
                                    "Invalid or unsupported regular expression."));
  EXPECT_THAT(run.errors,
              HasSubstr("\norvane: package mine, rule r (My rule): trigger.url-filter: "));
  EXPECT_THAT(run.errors, HasSubstr("The last good list, if there was one, stays in force."));
  EXPECT_EQ(get(container() / "CompiledLists/current"), current);
}

TEST_F(Rebuild, statusTellsOfTheLastRebuildAndNotOfAnEarlierOne) {
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "a|b")) + "]");
  ASSERT_EQ(orvane({"rebuild"}).exitStatus, 1);
  const auto failed = orvane({"status"});
  EXPECT_EQ(failed.exitStatus, 1);
  EXPECT_THAT(failed.output, HasSubstr("The browser did not take the list: "));
  EXPECT_THAT(failed.output, HasSubstr("package mine, rule r (My rule)"));

  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "a")) + "]");
  ASSERT_EQ(orvane({"rebuild"}).exitStatus, 0);
  const auto succeeded = orvane({"status"});
  EXPECT_EQ(succeeded.exitStatus, 0) << succeeded.output;
  EXPECT_THAT(succeeded.output, Not(HasSubstr("Problem")));
}

TEST_F(Rebuild, withoutTheSettingsNothingIsBuilt) {
  put(container() / "UserDefaults.sqlite", std::string(4096, 'x'));
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, HasSubstr("orvane: The settings that Orvane's programs share cannot be "
                                    "opened; nothing has changed.\n"));
  EXPECT_FALSE(std::filesystem::exists(list()));
  EXPECT_FALSE(std::filesystem::exists(container() / "CompiledLists"));
  EXPECT_FALSE(std::filesystem::exists(container() / "PreinstalledPackages.json"));
}

TEST_F(Rebuild, withoutPreinstalledPackagesTheListStaysAsItIs) {
  put(list(), "[1]");
  std::filesystem::create_directories(work / "bin");
  std::filesystem::copy(program, work / "bin/orvane");
  program = work / "bin/orvane";
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.errors,
            "orvane: The pre-installed packages cannot be found; the blocker list stays as it "
            "is.\n");
  EXPECT_EQ(get(list()), "[1]");
}

TEST_F(Rebuild, damagedFileOfTheUsersIsNamedAndKeptAndIsNoObstacle) {
  put(container() / "CustomPackages.json", "[{\"id\":");
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.errors, "orvane: '" + (container() / "CustomPackages.json").string() +
                            "' cannot be read in full, and what cannot be read has no effect; "
                            "orvane check says what is wrong.\n");
  EXPECT_EQ(get(container() / "CustomPackages.json"), "[{\"id\":");
}

TEST_F(Rebuild, damagedPreinstalledPackagesComeFromTheBundleAgain) {
  put(container() / "PreinstalledPackages.json", "[{");
  std::filesystem::last_write_time(
      container() / "PreinstalledPackages.json",
      std::filesystem::file_time_type::clock::now() + std::chrono::hours(24 * 365));
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_GE(urlFilters().size(), 500U);
}

TEST_F(Rebuild, preinstalledPackagesOfWhichOnlyAPartCanBeReadComeFromTheBundleAgain) {
  put(container() / "PreinstalledPackages.json",
      "[" + package("block-ads", rule("r", "x")) + R"(,{"id":"block-trackers","rules":7}])");
  std::filesystem::last_write_time(
      container() / "PreinstalledPackages.json",
      std::filesystem::file_time_type::clock::now() + std::chrono::hours(24 * 365));
  EXPECT_EQ(orvane({"rebuild"}).exitStatus, 0);
  EXPECT_GE(urlFilters().size(), 500U);
}

TEST_F(Rebuild, saysWhenTheContentBlockerIsSwitchedOff) {
  put(home / "config/orvane/browser.ini",
      "[Content Blockers]\ncom.tessaly.BlockerMac.BlockerMacExtension=false\n");
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.errors, "orvane: The content blocker is switched off in the browser's settings.\n");
}

TEST_F(Rebuild, moreRulesThanTheBrowserTakesAreRefusedInWords) {
  std::string rules;
  for (int number = 0; number <= 150'000; ++number) {
    rules += (number == 0 ? "" : ",") + rule(std::to_string(number), "x");
  }
  put(container() / "CustomPackages.json", "[" + package("mine", rules) + "]");
  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.errors, MatchesRegex("orvane: There are 15[0-9]+ rules, and the browser takes "
                                       "150000 at the most\\.\n"));
  EXPECT_FALSE(browserHasTheList());
}

}  // namespace
}  // namespace orvane::test
