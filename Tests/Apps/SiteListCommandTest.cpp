#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Not;

class SiteListCommand : public ChangeTest {
 protected:
  std::vector<std::string> sites(const std::string& command = "whitelist") {
    std::vector<std::string> result;
    const auto document = listed(command);
    const auto rows = document.root().array();
    for (const auto row : *rows) result.push_back(JSONValue(row)["domain"].stringValue());
    return result;
  }
  std::string ruleOf(std::size_t row) {
    const auto document = listed("whitelist");
    return JSONValue(document.root().array()->at(row).value())["rule"].stringValue();
  }
  void disableRule(const std::string& id) {
    ASSERT_EQ(orvane({"disable", "whitelist", id}).exitStatus, 0);
  }
};

TEST_F(SiteListCommand, eachDomainGetsARuleOfItsOwn) {
  const auto run = orvane({"whitelist", "add", "example.com", "*example.org"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_THAT(run.output,
              MatchesRegex("example\\.com is on the whitelist now, by the rule [0-9A-F-]{36} "
                           "\\(Whitelist example\\.com\\)\\.\n"
                           "\\*example\\.org is on the whitelist now, by the rule .*\n"));
  EXPECT_THAT(sites(), ElementsAre("example.com", "*example.org"));
  EXPECT_NE(ruleOf(0), ruleOf(1));
  EXPECT_THAT(get(configurable()),
              HasSubstr(R"("name":"Whitelist example.com","content":{"trigger":{"url-filter":".*",)"
                        R"("url-filter-is-case-sensitive":true,"if-domain":["example.com"]},)"
                        R"("action":{"type":"ignore-previous-rules"}})"));
  EXPECT_NE(value(settings(), "reloadRulesFromDisk"), std::nullopt);
}

TEST_F(SiteListCommand, httpsIsAListOfItsOwn) {
  const auto run = orvane({"https", "add", "example.com"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_THAT(run.output, HasSubstr("example.com is HTTPS-only now"));
  EXPECT_THAT(sites("https"), ElementsAre("example.com"));
  EXPECT_THAT(sites(), IsEmpty());
  EXPECT_THAT(get(configurable()), HasSubstr(R"("action":{"type":"make-https"})"));
  EXPECT_EQ(orvane({"https", "remove", "example.com"}).exitStatus, 0);
  EXPECT_THAT(sites("https"), IsEmpty());
}

TEST_F(SiteListCommand, inputIsReadAsTheDomainThatIsMeant) {
  const auto run = orvane({"whitelist", "add", "https://User@Example.COM:8080/x", " bücher.de. "});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output,
              AllOf(HasSubstr("'https://User@Example.COM:8080/x' is read as example.com.\n"),
                    HasSubstr("' bücher.de. ' is read as xn--bcher-kva.de.\n")));
  EXPECT_THAT(sites(), ElementsAre("example.com", "xn--bcher-kva.de"));
}

TEST_F(SiteListCommand, coveredDomainGetsNoSecondRule) {
  orvane({"whitelist", "add", "*example.com"});
  const auto before = stored();
  const auto run = orvane({"whitelist", "add", "shop.example.com"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, MatchesRegex("shop\\.example\\.com is on the whitelist already, by the "
                                       "rule .* \\(Whitelist \\*example\\.com\\)\\.\n"));
  EXPECT_EQ(stored(), before);
}

TEST_F(SiteListCommand, domainThatIsGivenTwiceGetsOneRule) {
  const auto run = orvane({"whitelist", "add", "example.com", "EXAMPLE.com"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.output, HasSubstr("example.com is on the whitelist already"));
  EXPECT_THAT(sites(), ElementsAre("example.com"));
}

TEST_F(SiteListCommand, domainOfASwitchedOffRuleIsRefusedWithTheWayToEnableIt) {
  putWhitelist(siteRule("w", "\"example.com\""));
  disableRule("w");
  expectRefusal({"whitelist", "add", "new.org", "example.com"},
                "orvane: example.com is listed by the rule w (By hand), which is switched off; "
                "'orvane enable whitelist w' switches it on.\n");
}

TEST_F(SiteListCommand, enabledRuleCountsThoughASwitchedOffOneStandsBeforeIt) {
  putWhitelist(siteRule("w1", "\"example.com\"") + "," + siteRule("w2", "\"example.com\""));
  disableRule("w1");
  const auto run = orvane({"whitelist", "add", "example.com"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.output, "example.com is on the whitelist already, by the rule w2 (By hand).\n");
}

TEST_F(SiteListCommand, switchedOffPackageIsNamed) {
  putWhitelist(siteRule("w", "\"example.com\""));
  ASSERT_EQ(orvane({"disable", "whitelist"}).exitStatus, 0);
  expectRefusal({"whitelist", "add", "example.com"},
                "orvane: example.com is listed by the rule w (By hand).\n"
                "orvane: The package whitelist is switched off; 'orvane enable whitelist' switches "
                "it on.\n");
  const auto other = orvane({"whitelist", "add", "other.org"});
  EXPECT_EQ(other.exitStatus, 0);
  EXPECT_THAT(other.output, HasSubstr("has no effect yet: the package whitelist is switched off"));
}

TEST_F(SiteListCommand, invalidDomainsAreAllNamedAndNothingIsAdded) {
  expectRefusal({"whitelist", "add", "good.com", "*.example.com", "bad", "", "a@b.com"},
                "orvane: Invalid domain: '*.example.com'; '*example.com' means the domain and all "
                "below it.\n"
                "orvane: Invalid domain: 'bad'.\n"
                "orvane: Domain field is empty.\n"
                "orvane: Invalid domain: 'a@b.com'.\n");
}

TEST_F(SiteListCommand, warningIsShownAndDoesNotRefuse) {
  const auto run = orvane({"whitelist", "add", "exa mple.com"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_THAT(run.errors, HasSubstr("orvane: The domain \"exa mple.com\" matches no site"));
  EXPECT_THAT(sites(), ElementsAre("exa mple.com"));
}

TEST_F(SiteListCommand, addingAnswersInJSON) {
  putWhitelist(siteRule("w", "\"example.com\""));
  EXPECT_THAT(orvane({"whitelist", "add", "HTTP://Example.com", "b.org", "--json"}).output,
              MatchesRegex("\\{\"changed\":true,\"domains\":\\["
                           "\\{\"given\":\"HTTP://Example\\.com\",\"domain\":\"example\\.com\","
                           "\"rule\":\"w\",\"added\":false\\},"
                           "\\{\"given\":\"b\\.org\",\"domain\":\"b\\.org\","
                           "\"rule\":\"[0-9A-F-]{36}\",\"added\":true\\}\\]\\}\n"));
}

TEST_F(SiteListCommand, ruleOfOneDomainIsRemoved) {
  putWhitelist(siteRule("w", "\"example.com\"") + "," + siteRule("v", "\"other.org\""));
  const auto run = orvane({"whitelist", "remove", "http://Example.com/"});
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
  EXPECT_EQ(run.output,
            "'http://Example.com/' is read as example.com.\n"
            "example.com is no longer on the whitelist; the rule w (By hand) is removed.\n");
  EXPECT_THAT(sites(), ElementsAre("other.org"));
  EXPECT_NE(value(settings(), "reloadRulesFromDisk"), std::nullopt);
}

TEST_F(SiteListCommand, ruleOfSeveralDomainsKeepsTheOthersAndItsId) {
  putWhitelist(siteRule("w", R"("a.com","b.com","c.com")") + "," + siteRule("v", "\"b.com\""));
  EXPECT_THAT(orvane({"whitelist", "remove", "b.com", "--json"}).output,
              "{\"changed\":true,\"removed\":["
              "{\"given\":\"b.com\",\"domain\":\"b.com\",\"rule\":\"w\",\"ruleRemoved\":false},"
              "{\"given\":\"b.com\",\"domain\":\"b.com\",\"rule\":\"v\",\"ruleRemoved\":true}]}\n");
  EXPECT_THAT(sites(), ElementsAre("a.com", "c.com"));
  EXPECT_EQ(ruleOf(0), "w");
  EXPECT_EQ(orvane({"whitelist", "remove", "a.com", "c.com"}).exitStatus, 0);
  EXPECT_THAT(sites(), IsEmpty());
}

TEST_F(SiteListCommand, entryThatOnlyAFileCanHoldIsRemovedAsItStands) {
  putWhitelist(siteRule("w", R"("*.Example.com")"));
  EXPECT_EQ(orvane({"whitelist", "remove", "*.Example.com"}).exitStatus, 0);
  EXPECT_THAT(sites(), IsEmpty());
}

TEST_F(SiteListCommand, domainThatIsOnlyCoveredIsNotRemoved) {
  putWhitelist(siteRule("w", "\"*example.com\""));
  expectRefusal({"whitelist", "remove", "shop.example.com"},
                "orvane: shop.example.com is on the whitelist only by the entry '*example.com' of "
                "the rule w (By hand); 'orvane whitelist remove '*example.com'' removes that.\n");
}

TEST_F(SiteListCommand, unknownDomainStopsTheRemovalOfAll) {
  putWhitelist(siteRule("w", "\"example.com\""));
  expectRefusal({"whitelist", "remove", "example.com", "nope.com", "void.org"},
                "orvane: nope.com is not on the whitelist.\n"
                "orvane: void.org is not on the whitelist.\n");
}

TEST_F(SiteListCommand, ruleThatExceptsASiteIsNotTakenForOneThatListsIt) {
  auto rule = siteRule("w", "\"example.com\"");
  rule.replace(rule.find("if-domain"), 9, "unless-domain");
  putWhitelist(rule);
  expectRefusal({"whitelist", "remove", "example.com"},
                "orvane: example.com is not on the whitelist.\n");
  EXPECT_THAT(orvane({"whitelist", "list"}).output, HasSubstr("(not example.com)  on "));
}

TEST_F(SiteListCommand, listTellsWhatIsSwitchedOff) {
  putWhitelist(siteRule("w", R"("a.com","b.com")") + "," + siteRule("v", "\"c.com\""));
  disableRule("v");
  EXPECT_EQ(orvane({"whitelist", "list"}).output,
            "DOMAIN  STATE  RULE  NAME\n"
            "a.com   on     w     By hand\n"
            "b.com   on     w     By hand\n"
            "c.com   off    v     By hand\n");
  EXPECT_THAT(orvane({"whitelist", "list", "--json"}).output,
              HasSubstr(R"({"domain":"c.com","rule":"v","name":"By hand","enabled":false}])"));
}

TEST_F(SiteListCommand, domainsOfAFileCannotSendCommandsToTheTerminal) {
  putWhitelist(siteRule("w\\u001b[2J", R"("a\u001b[2J.com")"));
  EXPECT_THAT(orvane({"whitelist", "list"}).output, Not(HasSubstr("\x1B")));
  EXPECT_THAT(orvane({"whitelist", "remove", "a\x1B[2J"}).errors, Not(HasSubstr("\x1B")));
}

TEST_F(SiteListCommand, fullDiskIsAFailureAndNothingIsClaimed) {
  std::string many;
  for (int number = 0; number < 500; ++number) {
    const auto text = std::to_string(number);
    many += (number == 0 ? "" : ",") + siteRule(text, "\"site" + text + ".com\"");
  }
  putWhitelist(many);
  put(container() / "CustomPackages.json", "[]");
  orvane({"packages"});
  const auto before = stored();
  const auto run = runProgram(
      {"sh", "-c", "trap '' XFSZ; ulimit -f 80; exec \"$0\" whitelist add example.com", program},
      work.path(), environment());
  EXPECT_EQ(run.exitStatus, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, AllOf(HasSubstr("File too large"),
                                EndsWith("orvane: example.com is not on the whitelist.\n")));
  EXPECT_EQ(stored(), before);
}

TEST_F(SiteListCommand, withoutASubcommandOrADomainItSaysWhatToDo) {
  for (const auto& arguments :
       {std::vector<std::string>{"whitelist"}, {"whitelist", "add"}, {"https", "bogus", "x"}}) {
    EXPECT_EQ(orvane(arguments).exitStatus, 2);
  }
}

TEST_F(SiteListCommand, listOfManyRulesComesSoon) {
  putManyRules("whitelist",
               [](const std::string& id) { return siteRule(id, "\"s" + id + ".com\""); });
  expectListOfManyRules("whitelist");
}

}  // namespace
}  // namespace orvane::test
