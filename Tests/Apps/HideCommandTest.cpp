#include "Tests/Apps/ChangeFixture.h"

namespace orvane::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

class HideCommand : public ChangeTest {
 protected:
  std::string hideRule(const std::string& id, const std::string& selector,
                       const std::string& filter = "") {
    return R"({"id":")" + id + R"(","name":"By hand","content":{"trigger":{"url-filter":".*")" +
           filter + R"(},"action":{"type":"css-display-none","selector":")" + selector + "\"}}}";
  }
  void putRules(const std::string& rules) {
    put(configurable(), R"([{"id":"hide-elements","name":"Hide","rules":[)" + rules + "]}]");
  }
};

TEST_F(HideCommand, selectorIsHiddenEverywhereOrOnSomeSitesOrOnAllButSome) {
  const auto everywhere = orvane({"hide", "add", " [data-ad] "});
  EXPECT_EQ(everywhere.exitStatus, 0) << everywhere.errors;
  EXPECT_THAT(everywhere.output,
              MatchesRegex("\\[data-ad\\] is hidden on every site now, by the rule [0-9A-F-]{36} "
                           "\\(Hide \\[data-ad\\]\\)\\.\n"));
  EXPECT_EQ(orvane({"hide", "add", "--on", "https://A.com/", "--on", "b.com", ".x"}).exitStatus, 0);
  EXPECT_EQ(orvane({"hide", "add", ".y", "--except", "c.com"}).exitStatus, 0);
  const auto json = orvane({"hide", "list", "--json"}).output;
  EXPECT_THAT(json, AllOf(HasSubstr(R"("selector":"[data-ad]","enabled":true})"),
                          HasSubstr(R"("selector":".x","on":["a.com","b.com"],"enabled":true})"),
                          HasSubstr(R"("selector":".y","except":["c.com"],"enabled":true})")));
  EXPECT_THAT(get(configurable()),
              HasSubstr(R"("unless-domain":["c.com"]},"action":{"type":"css-display-none",)"));
  EXPECT_NE(value(settings(), "reloadRulesFromDisk"), std::nullopt);
}

TEST_F(HideCommand, listTellsPlacesAndState) {
  putRules(hideRule("h1", ".x") + "," + hideRule("h2", ".y", R"(,"unless-domain":["a.com"])"));
  orvane({"disable", "hide-elements", "h2"});
  EXPECT_EQ(orvane({"hide", "list"}).output,
            "RULE  STATE  SELECTOR  PLACE\n"
            "h1    on     .x        on every site\n"
            "h2    off    .y        on every site but a.com\n");
}

TEST_F(HideCommand, sameWishAgainAddsNothing) {
  putRules(hideRule("h", ".x", R"(,"if-domain":["a.com","b.com"])"));
  const auto before = stored();
  const auto run = orvane({"hide", "add", ".x", "--on", "b.com", "--on", "a.com"});
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.output, ".x is hidden on a.com, b.com already, by the rule h (By hand).\n");
  EXPECT_EQ(get(configurable()), before.packageFiles.at("ConfigurablePackages.json"));
  EXPECT_THAT(orvane({"hide", "add", ".x", "--on", "a.com"}).output,
              HasSubstr(".x is hidden on a.com now"));
}

TEST_F(HideCommand, switchedOffRuleOrPackageIsNamed) {
  putRules(hideRule("h", ".x"));
  orvane({"disable", "hide-elements", "h"});
  expectRefusal({"hide", "add", ".x"},
                "orvane: There is the rule h (By hand) for it, which is switched off; 'orvane "
                "enable hide-elements h' switches it on.\n");
  orvane({"enable", "hide-elements", "h"});
  orvane({"disable", "hide-elements"});
  expectRefusal({"hide", "add", ".x"},
                "orvane: There is the rule h (By hand) for it.\norvane: The package hide-elements "
                "is switched off; 'orvane enable hide-elements' switches it on.\n");
}

TEST_F(HideCommand, whatTheBrowserWouldNotTakeIsRefused) {
  expectRefusal({"hide", "add", "div:::x"}, HasSubstr("orvane: The selector is not valid: "));
  expectRefusal({"hide", "add", "  "}, "orvane: The selector is empty.\n");
  expectRefusal({"hide", "add", "\xFF"}, HasSubstr("orvane: "));
  expectRefusal({"hide", "add", ".x", "--on", "*.a.com", "--on", "b"},
                "orvane: Invalid domain: '*.a.com'; '*a.com' means the domain and all below it.\n"
                "orvane: Invalid domain: 'b'.\n");
}

TEST_F(HideCommand, onAndExceptExcludeEachOther) {
  const auto run = orvane({"hide", "add", ".x", "--on", "a.com", "--except", "b.com"});
  EXPECT_EQ(run.exitStatus, 2);
  EXPECT_THAT(run.errors, HasSubstr("excludes"));
}

TEST_F(HideCommand, ruleIsRemovedBySelectorOrById) {
  putRules(hideRule("h1", "[x]") + "," + hideRule("h2", ".y") + "," + hideRule("h3", ".z"));
  EXPECT_EQ(orvane({"hide", "remove", "[x]"}).output, "The rule h1 (By hand) is removed.\n");
  EXPECT_EQ(orvane({"hide", "remove", "h2", "--json"}).output,
            "{\"changed\":true,\"rule\":\"h2\",\"selector\":\".y\"}\n");
  EXPECT_EQ(orvane({"hide", "list"}).output,
            "RULE  STATE  SELECTOR  PLACE\nh3    on     .z        on every site\n");
}

TEST_F(HideCommand, ambiguousSelectorIsRefusedUnlessTheSitesDecide) {
  putRules(hideRule("h1", ".x") + "," + hideRule("h2", ".x", R"(,"if-domain":["a.com"])"));
  expectRefusal({"hide", "remove", ".x"},
                "orvane: There are 2 such rules; say which one by its id:\n"
                "orvane:   h1  on every site\norvane:   h2  on a.com\n");
  EXPECT_EQ(orvane({"hide", "remove", ".x", "--on", "a.com"}).output,
            "The rule h2 (By hand) is removed.\n");
}

TEST_F(HideCommand, unknownSelectorIsRefused) {
  putRules(hideRule("h", ".x"));
  expectRefusal({"hide", "remove", ".nope"}, "orvane: There is no rule that hides .nope.\n");
  expectRefusal({"hide", "remove", ".x", "--on", "a.com"},
                "orvane: There is no rule that hides .x on a.com.\n");
}

TEST_F(HideCommand, listOfManyRulesComesSoon) {
  putManyRules("hide-elements", [this](const std::string& id) { return hideRule(id, ".x" + id); });
  expectListOfManyRules("hide");
}

}  // namespace
}  // namespace orvane::test
