#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Apps/Processes/Extension.h"
#include "Tests/Apps/Processes/UserHome.h"

namespace orvane::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;

/// From the user's change to the list that the browser enforces, and back to the page.
class Road : public ::testing::Test {
 protected:
  explicit Road(UserHome::Compiler compiler = UserHome::bestCompiler) : home(compiler) {
    companion = home.startCompanion();
    extension.makeARoundTrip();
    extension.answers = 0;
    EXPECT_TRUE(home.browserHasTheList());
    EXPECT_THAT(home.urlFilters(), IsSupersetOf({"ads-1", "ads-2", "trackers-1"}));
  }

  bool lists(const std::string& urlFilter) {
    const auto filters = home.urlFilters();
    return std::find(filters.begin(), filters.end(), urlFilter) != filters.end();
  }
  /// Waits until the browser enforces a list with, or without, that rule.
  void waitUntilEnforced(const std::string& urlFilter, bool isThere = true) {
    extension.waitUntil([&] { return lists(urlFilter) == isThere && home.browserHasTheList(); });
  }
  /// Nothing was answered, though all that was to be done is done.
  void expectNoAnswer() {
    EXPECT_EQ(extension.answers, 0);
    extension.makeARoundTrip();
    EXPECT_EQ(extension.answers, 1);
    extension.answers = 0;
  }

  UserHome home;
  Extension extension{home.log()};
  std::unique_ptr<ChildProcess> companion;
};

class RoadToAScript : public Road {
 protected:
  RoadToAScript() : Road(UserHome::Compiler::scripted) {}
};

TEST_F(Road, aSiteIsWhitelistedAndThePageIsReloadedOnce) {
  EXPECT_TRUE(extension.whitelist("example.com"));
  extension.send();
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.get(home.list()), HasSubstr(R"("if-domain":["example.com"])"));
  EXPECT_EQ(home.urlFilters().back(), ".*") << "the whitelist comes last";
  EXPECT_EQ(extension.status("error"), "");
  extension.makeARoundTrip();
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(Road, aPauseTakesTheListAwayAndAResumptionBringsItBack) {
  extension.setPaused(true);
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.urlFilters(), Not(Contains("ads-1")));
  extension.setPaused(false);
  extension.waitForAnswers(2);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_THAT(home.urlFilters(), Contains("ads-1"));
  EXPECT_EQ(extension.answers, 2);
}

TEST_F(Road, aPackageThatIsSwitchedOffLeavesTheListWithoutAnAnswer) {
  EXPECT_TRUE(extension.preferences().saveDisabledUserPrefenceForPackage({"block-ads", "", {}}));
  waitUntilEnforced("ads-1", false);
  EXPECT_TRUE(lists("trackers-1"));
  expectNoAnswer();
  EXPECT_TRUE(extension.preferences().saveEnabledUserPrefenceForPackage({"block-ads", "", {}}));
  waitUntilEnforced("ads-1");
  expectNoAnswer();
}

TEST_F(Road, aPackageFileThatIsEditedByHandCountsWithoutAnAnswer) {
  home.put(home.container() / "CustomPackages.json",
           R"([{"id":"own","name":"Own","rules":[{"id":"r","name":"","content":)"
           R"({"trigger":{"url-filter":"by-hand"},"action":{"type":"block"}}}]}])");
  waitUntilEnforced("by-hand");
  expectNoAnswer();
  std::filesystem::remove(home.container() / "CustomPackages.json");
  waitUntilEnforced("by-hand", false);
  expectNoAnswer();
}

TEST_F(RoadToAScript, whileTheContentBlockerIsOffNothingIsBuiltAndThenAllThatWasMissed) {
  const auto before = home.get(home.list());
  home.setContentBlockerEnabled(false);
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_EQ(extension.status("error"),
            "The content blocker is switched off in the browser's settings.");
  EXPECT_EQ(home.get(home.list()), before);
  EXPECT_EQ(extension.answers, 0);
  home.setContentBlockerEnabled(true);
  waitUntilEnforced("mine");
  extension.waitUntil([&] { return extension.status("error").empty(); });
  extension.waitForAnswers(1);
}

TEST_F(RoadToAScript, settingsThatCannotBeReadDelayTheListUntilTheyCan) {
  home.put(home.settings(), "[Content Blockers\nnot settings");
  EXPECT_TRUE(extension.block("mine"));
  extension.send();
  extension.waitUntil([&] { return home.linesWith("Can't check blocker state") > 0; });
  EXPECT_FALSE(lists("mine"));
  home.setContentBlockerEnabled(true);
  waitUntilEnforced("mine");
  extension.waitForAnswers(1);
}

#ifdef ORVANE_COMPILER
TEST_F(Road, aListThatTheBrowserRefusesKeepsTheLastGoodOneAndTheStatusNamesTheRule) {
  const auto current = home.container() / "CompiledLists/current";
  const auto before = home.get(current);
  EXPECT_TRUE(extension.block("(wrong"));
  extension.send();
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_THAT(extension.status("error"), HasSubstr("package block-url, rule (wrong"));
  EXPECT_EQ(home.get(current), before);
  EXPECT_TRUE(home.isEnforcedListIntact());
  EXPECT_EQ(extension.answers, 0);

  const Rule refused{"(wrong", "", {{.urlFilter = "(wrong"}, *Action::make(ActionType::Block)}};
  EXPECT_TRUE(extension.process.dataManager().replaceRule(refused, std::nullopt,
                                                          ConfigurablePackageType::BlockURL));
  extension.send();
  extension.waitForAnswers(1);
  EXPECT_TRUE(home.browserHasTheList());
  EXPECT_EQ(extension.status("error"), "");
}
#endif

TEST_F(RoadToAScript, whatTheCompilerSaysIsInTheStatusUntilItAcceptsAList) {
  home.setRefusal("The sky is falling.");
  extension.send();
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_THAT(extension.status("error"), HasSubstr("The sky is falling."));
  EXPECT_EQ(extension.answers, 0);
  home.setRefusal("");
  extension.makeARoundTrip();
  EXPECT_EQ(extension.status("error"), "");
}

TEST_F(RoadToAScript, aCompilerThatIsMissingIsAnErrorAndTheCompanionWorksOn) {
  const auto compiler = home.program().parent_path() / "orvane-compile";
  std::filesystem::rename(compiler, home.folder / "away");
  extension.send();
  extension.waitUntil([&] { return !extension.status("error").empty(); });
  EXPECT_THAT(extension.status("error"), HasSubstr("orvane-compile"));
  std::filesystem::rename(home.folder / "away", compiler);
  extension.makeARoundTrip();
  EXPECT_EQ(extension.status("error"), "");
}

/// A helper that has ended and was not waited for is a zombie until the companion ends.
TEST_F(RoadToAScript, leavesNoZombies) {
  for (int time = 0; time < 5; ++time) extension.makeARoundTrip();
  const auto children = "/proc/" + std::to_string(companion->id()) + "/task/" +
                        std::to_string(companion->id()) + "/children";
  extension.waitUntil([&] { return home.get(children).empty(); });
}

}  // namespace
}  // namespace orvane::test
