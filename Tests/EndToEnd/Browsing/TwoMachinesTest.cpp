#include <csignal>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Linux/Posix/CloudAccount.h"
#include "Tests/EndToEnd/Browsing/Desk.h"
#include "Tests/EndToEnd/Browsing/OtherMachine.h"
#include "Tests/Linux/PostgreSQL/CloudInCluster.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// A user with two machines and a server. What is done at the desk is done in its browser.
class TwoMachines : public ::testing::Test {
 protected:
  TwoMachines() {
    ::setenv(CloudAccount::environmentVariable, server.cluster.connectionString("alice").c_str(),
             1);
    desk.serveNewspaper("news.example.com");
    servePageThatTellsItsEnd();
    desk.startBrowser();
    desk.waitForList();
    desk.open("http://news.example.com/");
  }
  ~TwoMachines() override { ::unsetenv(CloudAccount::environmentVariable); }

  /// The same newspaper, for the other machine.
  void servePageThatTellsItsEnd() {
    desk.internet().serve("news.example.com", "/evening",
                          {.contentType = "text/html; charset=utf-8",
                           .body = R"(<!DOCTYPE html><title>News</title>
<img src="http://ad.doubleclick.net/banner.svg">
<script>addEventListener('load', () => { new Image().src = '/read'; });</script>)",
                           .headers = {}});
  }

  void run(std::vector<std::string> arguments) {
    const auto result = other.orvane(std::move(arguments));
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
  }
  std::string listOfOther() { return other.orvane({"whitelist", "list"}).output; }
  std::string atDesk(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ORVANE_PROGRAMS "/orvane");
    const auto result = runProgram(arguments, desk.home.path());
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return result.output;
  }

  static bool isListed(const std::string& domain, const std::string& list) {
    return list.find(domain) != std::string::npos;
  }

  bool reloadShowsAdvert() {
    desk.forgetRequests();
    desk.browser().window().tabs().front()->reload();
    return desk.showsAdvert();
  }
  bool otherShowsAdvert() {
    return other.browserFetches("http://news.example.com/evening", "ad.doubleclick.net", "/read");
  }
  void untilDeskShowsAdvert() {
    desk.until("the advert is shown at the desk", [this] { return reloadShowsAdvert(); });
  }

  CloudInCluster server;
  Desk desk;
  OtherMachine other{desk};
};

TEST_F(TwoMachines, ASiteThatIsWhitelistedOnOneShowsItsAdvertsInTheBrowserOfTheOther) {
  EXPECT_FALSE(desk.showsAdvert());
  desk.forgetRequests();
  run({"whitelist", "add", "news.example.com", "--wait"});
  desk.until("the rule has come",
             [&] { return !desk.rules(ConfigurablePackageType::Whitelist).empty(); });
  EXPECT_EQ(desk.requests("news.example.com", "/"), 0) << "the user's page was loaded again";
  untilDeskShowsAdvert();
  EXPECT_TRUE(otherShowsAdvert());
}

TEST_F(TwoMachines, WhatTheUserClicksInTheBrowserOfOneTakesEffectInThatOfTheOther) {
  run({"rebuild"});
  EXPECT_FALSE(otherShowsAdvert());
  desk.openPopover();
  desk.press("✅ Add to Whitelist");
  desk.until("the other machine has it",
             [&] { return isListed("news.example.com", listOfOther()); });
  run({"sync", "now"});
  EXPECT_TRUE(otherShowsAdvert());
}

TEST_F(TwoMachines, APackageThatIsSwitchedOffOnOneIsOffOnTheOther) {
  EXPECT_FALSE(desk.showsAdvert());
  run({"disable", "block-ads", "--wait"});
  untilDeskShowsAdvert();
  run({"enable", "block-ads", "--wait"});
  desk.until("the advert is gone at the desk", [this] { return !reloadShowsAdvert(); });
}

TEST_F(TwoMachines, WhatBothDoWhileTheServerIsAwayIsThereOnBothAfterwards) {
  run({"sync", "now"});
  server.cluster.kill();
  run({"whitelist", "add", "morning.example.com"});
  desk.openPopover();
  desk.press("✅ Add to Whitelist");
  desk.until("the rule is kept", [this] { return desk.hasButton("🚫 Remove from Whitelist"); });
  EXPECT_THAT(listOfOther(), Not(HasSubstr("news.example.com")));

  server.cluster.start();
  server.cluster.waitUntilReady();
  desk.until("the other machine has both",
             [&] { return isListed("news.example.com", listOfOther()); });
  desk.until("the desk has both", [&] {
    return isListed("morning.example.com", atDesk({"whitelist", "list"}));
  });
  EXPECT_THAT(listOfOther(), HasSubstr("morning.example.com"));
  EXPECT_THAT(atDesk({"whitelist", "list"}), HasSubstr("news.example.com"));
}

TEST_F(TwoMachines, ARuleThatBothEditWhileTheServerIsAwayEndsAsOneOfTheTwo) {
  other.put("data/orvane/Q4XR7T2M9V.com.tessaly.Blocker/ConfigurablePackages.json",
            R"([{"id":"whitelist","name":"Whitelist","rules":[{"id":"r","name":"Three","content":)"
            R"({"trigger":{"url-filter":".*","if-domain":["a.example","b.example","c.example"]},)"
            R"("action":{"type":"ignore-previous-rules"}}}]}])");
  run({"sync", "now"});
  desk.until("the rule has come", [&] {
    return isListed("a.example", atDesk({"whitelist", "list"}));
  });
  atDesk({"sync", "now"});
  server.cluster.kill();
  run({"whitelist", "remove", "a.example"});
  atDesk({"whitelist", "remove", "b.example"});

  server.cluster.start();
  server.cluster.waitUntilReady();
  desk.until("both have the same", [&] { return listOfOther() == atDesk({"whitelist", "list"}); });
  const auto list = listOfOther();
  EXPECT_THAT(list, HasSubstr("c.example"));
  EXPECT_NE(isListed("a.example", list), isListed("b.example", list)) << list;
}

TEST_F(TwoMachines, AKilledCompanionTakesUpWhatCameMeanwhile) {
  run({"sync", "now"});
  desk.endCompanion(SIGKILL);
  run({"whitelist", "add", "news.example.com"});
  run({"sync", "now"});
  atDesk({"sync", "now"});
  desk.until("the rule has come",
             [&] { return !desk.rules(ConfigurablePackageType::Whitelist).empty(); });
  untilDeskShowsAdvert();
}

TEST_F(TwoMachines, WhatACompanionHadNotSentWhenItWasKilledIsSentByTheNextOne) {
  run({"sync", "now"});
  server.cluster.freeze();
  run({"whitelist", "add", "news.example.com"});
  desk.until("the companion runs", [&] { return other.runs("orvane"); });
  other.signalPrograms("orvane", SIGKILL);
  desk.until("the companion is gone", [&] { return !other.runs("orvane"); });
  server.cluster.thaw();
  run({"sync", "now"});
  untilDeskShowsAdvert();
}

}  // namespace
}  // namespace orvane::test
