#include <csignal>
#include <cstdlib>
#include <iterator>
#include <regex>

#include "Tests/Apps/ChangeFixture.h"
#include "Tests/Apps/Processes/ChildProcess.h"

namespace orvane::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The commands launch the real companion.
class Wait : public ChangeTest {
 protected:
  Wait() { companion_.reset(); }

  std::filesystem::path lock() { return container() / "Companion.lock"; }
};

TEST_F(Wait, pauseEndsWhenTheBrowserBlocksNothing) {
  const auto run = orvane({"pause", "--wait"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output, "Blocking is paused.\nThe browser has the list.\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_TRUE(browserHasTheList());
  EXPECT_EQ(urlFilters().size(), 1U);
  EXPECT_EQ(orvane({"status"}).exitStatus, 0);

  EXPECT_EQ(orvane({"resume", "--wait"}).exitStatus, 0);
  EXPECT_TRUE(browserHasTheList());
  EXPECT_GE(urlFilters().size(), 500U);
}

TEST_F(Wait, everyKindOfChangeReachesTheBrowser) {
  const auto added = orvane({"whitelist", "add", "example.com", "--wait", "--json"});
  EXPECT_EQ(added.exitStatus, 0) << added.errors;
  EXPECT_THAT(added.output, EndsWith(",\"browserHasList\":true}\n"));
  EXPECT_TRUE(browserHasTheList());
  EXPECT_THAT(get(list()), EndsWith(R"("if-domain":["example.com"]},)"
                                    R"("action":{"type":"ignore-previous-rules"}}])"));

  EXPECT_EQ(orvane({"whitelist", "remove", "example.com", "--wait"}).exitStatus, 0);
  EXPECT_TRUE(browserHasTheList());
  EXPECT_EQ(get(list()).find("ignore-previous-rules"), std::string::npos);

  EXPECT_EQ(orvane({"hide", "add", "[x-ad]", "--wait"}).exitStatus, 0);
  EXPECT_TRUE(browserHasTheList());
  EXPECT_THAT(get(list()), HasSubstr(R"("selector":"[x-ad]")"));

  const auto before = urlFilters().size();
  EXPECT_EQ(orvane({"disable", "block-ads", "--wait"}).exitStatus, 0);
  EXPECT_TRUE(browserHasTheList());
  EXPECT_LT(urlFilters().size(), before);
}

TEST_F(Wait, whatIsThereAlreadyNeedsNoWaiting) {
  ASSERT_EQ(orvane({"pause", "--wait"}).exitStatus, 0);
  endPrograms();
  const auto held = SingleInstance::acquire(lock());
  ASSERT_TRUE(held && *held);
  const auto run = orvane({"pause", "--wait", "--timeout", "5"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.output, "Blocking is paused already.\nThe browser has the list.\n");
}

/// The list in force is the right one for as long as the other one is being compiled.
TEST_F(Wait, listOfBeforeIsNotTakenForTheAnswer) {
  ASSERT_EQ(orvane({"whitelist", "add", "example.com", "--wait"}).exitStatus, 0);
  CompiledListDirectory compiledLists(files, container() / "CompiledLists");
  auto held = compiledLists.lock();
  ASSERT_TRUE(held);
  ASSERT_EQ(orvane({"pause"}).exitStatus, 0);
  const auto run = orvane({"resume", "--wait", "--timeout", "1"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "Blocking is resumed.\n");
  EXPECT_EQ(run.errors, "orvane: The browser does not have the list after 1 s.\n");
  held->reset();

  EXPECT_EQ(orvane({"whitelist", "add", "example.org", "--wait"}).exitStatus, 0);
  EXPECT_TRUE(browserHasTheList());
  EXPECT_THAT(get(list()), HasSubstr(R"("if-domain":["example.org"])"));
}

TEST_F(Wait, refusedListEndsItWithTheReason) {
  put(container() / "CustomPackages.json", "[" + package("mine", rule("r", "a|b")) + "]");
  const auto run = orvane({"https", "add", "example.com", "--wait"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_THAT(run.output, StartsWith("example.com is HTTPS-only now"));
  EXPECT_EQ(run.output.find("The browser has the list."), std::string::npos);
  EXPECT_THAT(run.errors, HasSubstr("orvane: The browser did not take the list: "));
}

TEST_F(Wait, blockerThatIsSwitchedOffInTheBrowserEndsIt) {
  put(home / "config/orvane/browser.ini",
      "[Content Blockers]\ncom.tessaly.BlockerMac.BlockerMacExtension=false\n");
  const auto run = orvane({"pause", "--wait"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "Blocking is paused.\n");
  EXPECT_EQ(run.errors, "orvane: The content blocker is switched off in the browser's settings.\n");
}

TEST_F(Wait, timeThatIsUpEndsIt) {
  const auto held = SingleInstance::acquire(lock());
  ASSERT_TRUE(held && *held);
  const auto run = orvane({"pause", "--wait", "--timeout", "1", "--json"});
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "{\"changed\":true,\"paused\":true,\"browserHasList\":false}\n");
  EXPECT_EQ(run.errors, "orvane: The browser does not have the list after 1 s.\n");
}

TEST_F(Wait, rebuildIsLeftToTheCompanionThatRuns) {
  const auto said = work / "companion.txt";
  const auto setUser = [this] {
    for (const auto& [name, value] : environment()) ::setenv(name.c_str(), value.c_str(), 1);
  };
  ChildProcess companion({program, "--hidden"}, {.log = said, .prepare = setUser});
  ASSERT_EQ(orvane({"pause", "--wait"}).exitStatus, 0);
  ASSERT_EQ(orvane({"resume", "--wait"}).exitStatus, 0);
  const auto written = [&] {
    const auto text = get(said);
    const std::regex line("Wrote [0-9]+ blockers to Safari JSON file");
    return std::distance(std::sregex_iterator(text.begin(), text.end(), line), {});
  };
  const auto before = written();
  ASSERT_GT(before, 0);
  std::filesystem::remove(home / "state/orvane/orvane.log");

  const auto run = orvane({"rebuild"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output, "The browser has the list.\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(written(), before + 1);
  EXPECT_THAT(diagnostics(), HasSubstr("Sending reloadRulesFromDisk..."));
  EXPECT_THAT(diagnostics(), Not(HasSubstr("blockers to Safari JSON file")));
  EXPECT_TRUE(browserHasTheList());
  companion.signal(SIGTERM);
  EXPECT_EQ(companion.exitStatus(), 0);
}

TEST_F(Wait, timeoutWithoutWaitMakesNoSense) {
  EXPECT_EQ(orvane({"pause", "--timeout", "5"}).exitStatus, 2);
  EXPECT_EQ(orvane({"pause", "--wait", "--timeout", "0"}).exitStatus, 2);
}

}  // namespace
}  // namespace orvane::test
