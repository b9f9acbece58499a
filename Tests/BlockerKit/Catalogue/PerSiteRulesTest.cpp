#include "BlockerKit/Catalogue/PerSiteRules.h"
#include "Tests/BlockerKit/Catalogue/CatalogueFixture.h"

namespace orvane::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Domains = std::vector<std::string>;

Rule siteRule(std::string id, Domains domains, DomainFilterType type = DomainFilterType::IfDomain) {
  return {std::move(id),
          "",
          {{.urlFilter = ".*", .domainFilter = DomainFilter{type, std::move(domains)}},
           *Action::make(ActionType::IgnorePreviousRules)}};
}

class PerSiteRulesTest : public CatalogueTest {
 protected:
  struct Warning {
    std::string message;
    bool warning;
    friend bool operator==(const Warning&, const Warning&) = default;
  };

  bool validate(const Domains& domains) { return rules.validateDomains(domains); }
  /// The messages since the last call, and that all were warnings.
  Lines takeWarnings() {
    Lines messages;
    for (const auto& [message, warning] : std::exchange(warnings, {})) {
      EXPECT_TRUE(warning) << message;
      messages.push_back(message);
    }
    return messages;
  }
  void whitelist(std::vector<Rule> whitelisted) {
    put(configurableFile,
        {packageOf("whitelist", std::move(whitelisted)), packageOf("make-https")});
  }
  static bool covers(const std::string& entry, std::string_view host) {
    const auto package = packageOf("p", {siteRule("1", {entry})});
    return PerSiteRules::ruleCovering(host, [&] { return &package; }) != nullptr;
  }

  PerSiteRules rules{process.machine.platform, dataManager};
  std::vector<Warning> warnings;
  NSNotificationCenter::Observation observation = process.machine.notificationCenter.addObserver(
      "DisplayInformation", [this](const NSNotification& notification) {
        EXPECT_EQ(notification.userInfo.size(), 2U);
        warnings.push_back({std::get<std::string>(notification.userInfo.at("message")),
                            std::get<bool>(notification.userInfo.at("warning"))});
      });
};

// The packages.

TEST_F(PerSiteRulesTest, ThePackagesAreFoundByTheirIds) {
  EXPECT_EQ(rules.whitelistPackage()->id, "whitelist");
  EXPECT_EQ(rules.makeHttpsPackage()->id, "make-https");
}

TEST_F(PerSiteRulesTest, AMissingPackageIsPrinted) {
  dataManager.setConfigurablePackages({packageOf("block-url")});
  EXPECT_EQ(rules.whitelistPackage(), nullptr);
  EXPECT_THAT(takeLines(), ElementsAre("Couldn't find the Whitelist package"));
  EXPECT_EQ(rules.makeHttpsPackage(), nullptr);
  EXPECT_THAT(takeLines(), ElementsAre("Couldn't find the Make HTTPS package"));
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com"), std::nullopt);
  EXPECT_THAT(takeLines(), ElementsAre("Couldn't find the Whitelist package"));
  EXPECT_EQ(rules.makeHttpsRuleForDomain("a.com"), std::nullopt);
  EXPECT_THAT(takeLines(), ElementsAre("Couldn't find the Make HTTPS package"));
  EXPECT_THAT(takeWarnings(), IsEmpty());
}

// The validation.

TEST_F(PerSiteRulesTest, AnEmptyListIsNone) {
  EXPECT_FALSE(validate({}));
  EXPECT_THAT(takeWarnings(), ElementsAre("Domain list is empty"));
}

TEST_F(PerSiteRulesTest, TheseAreDomains) {
  for (const char* domain : {"example.com", "localhost", "a.b", "*example.com", "**ab.com",
                             "exa mple.com", "EXAMPLE.Com", "under_score.com", "hy-phen.com",
                             "b\xC3\xBC"
                             "cher.example",
                             "192.168.0.1", "a..b"}) {
    EXPECT_TRUE(validate({domain})) << domain;
    EXPECT_THAT(takeWarnings(), IsEmpty()) << domain;
  }
}

TEST_F(PerSiteRulesTest, TheseAreNot) {
  for (const char* domain :
       {"example", "-example.com", "example.com-", ".example.com", "example.com.", "localhost.",
        "*.example.com", "ex*ample.com", "example.*", "Localhost", ".", "*", "x.y*", "*example.*",
        "*a*.com", "https://example.com", "example.com/path", "example.com:80"}) {
    EXPECT_FALSE(validate({domain})) << domain;
    EXPECT_THAT(takeWarnings(), ElementsAre(std::string("Invalid domain: '") + domain + "'"));
  }
}

TEST_F(PerSiteRulesTest, TheForbiddenCharactersAreThese) {
  const std::string forbidden = "!@#$%^&()+=`[]{}\\|;:\"',~<>?/";
  EXPECT_EQ(forbidden.size(), 28U);
  for (char character = 0x20; character < 0x7F; ++character) {
    if (character == '*') continue;  // has rules of its own
    const std::string domain = std::string("ex") + character + "ample.com";
    const bool isForbidden = forbidden.find(character) != std::string::npos;
    EXPECT_EQ(validate({domain}), !isForbidden) << domain;
    EXPECT_EQ(takeWarnings().size(), isForbidden ? 1U : 0U);
  }
  EXPECT_FALSE(
      validate({"ex\xE2\x80\xA6"
                "ample.com"}));
  EXPECT_TRUE(
      validate({"ex\xE2\x80\xA5"
                "ample.com"}))
      << "two dots instead of three";
}

TEST_F(PerSiteRulesTest, TheFirstBadDomainIsTheOnlyWarning) {
  EXPECT_FALSE(validate({"good.com", "", "bad"}));
  EXPECT_THAT(takeWarnings(), ElementsAre("Domain field is empty"));
  EXPECT_FALSE(validate({"localhost", "good.com", "bad", ""}));
  EXPECT_THAT(takeWarnings(), ElementsAre("Invalid domain: 'bad'"));
  EXPECT_TRUE(validate({"good.com", "localhost", "fine.org"}));
}

// The look-up.

TEST_F(PerSiteRulesTest, AnEntryCoversItsOwnHostOrASuffix) {
  EXPECT_TRUE(covers("example.com", "example.com"));
  EXPECT_FALSE(covers("example.com", "www.example.com"));
  EXPECT_FALSE(covers("example.com", "Example.com"));
  EXPECT_FALSE(covers("www.example.com", "example.com"));
  EXPECT_TRUE(covers("*ample.com", "example.com"));
  EXPECT_TRUE(covers("*example.com", "example.com"));
  EXPECT_TRUE(covers("*.example.com", "shop.example.com"));
  EXPECT_FALSE(covers("*.example.com", "example.com"));
  EXPECT_FALSE(covers("*.example.com", "shop.EXAMPLE.com"));
  EXPECT_TRUE(covers("*exa*mple.com", "example.com")) << "every asterisk is removed";
  EXPECT_TRUE(covers("*", "anything.test"));
  EXPECT_FALSE(covers("example.*", "example.com"));
  EXPECT_FALSE(covers("", "example.com"));
}

TEST_F(PerSiteRulesTest, TheFirstRuleThatCoversIsTheOne) {
  auto everywhere = siteRule("everywhere", {});
  everywhere.blocker.trigger.domainFilter.reset();
  const auto package =
      packageOf("p", {everywhere, siteRule("empty", {}), siteRule("other", {"b.com"}),
                      siteRule("unless", {"x.com", "a.com"}, DomainFilterType::UnlessDomain),
                      siteRule("later", {"a.com"})});
  const auto provider = [&] { return &package; };
  EXPECT_EQ(PerSiteRules::ruleCovering("a.com", provider)->id, "unless");
  EXPECT_EQ(PerSiteRules::ruleCovering("c.com", provider), nullptr);
  EXPECT_EQ(PerSiteRules::ruleCovering("a.com", [] { return nullptr; }), nullptr);
}

TEST_F(PerSiteRulesTest, TheCoveringRuleIsLookedForInItsOwnPackage) {
  put(configurableFile, {packageOf("whitelist", {siteRule("w", {"a.com"})}),
                         packageOf("make-https", {siteRule("h", {"b.com"})})});
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com")->id, "w");
  EXPECT_EQ(rules.whitelistRuleForDomain("b.com"), std::nullopt);
  EXPECT_EQ(rules.makeHttpsRuleForDomain("b.com")->id, "h");
  EXPECT_EQ(rules.makeHttpsRuleForDomain("a.com"), std::nullopt);
}

TEST_F(PerSiteRulesTest, APackageThatIsSwitchedOffCoversNothing) {
  whitelist({siteRule("w", {"a.com"})});
  dataManager.preferenceManager().saveDisabledUserPrefenceForPackage(packageOf("make-https"));
  EXPECT_TRUE(rules.whitelistRuleForDomain("a.com"));
  dataManager.preferenceManager().saveDisabledUserPrefenceForPackage(packageOf("whitelist"));
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com"), std::nullopt);
  dataManager.preferenceManager().saveEnabledUserPrefenceForPackage(packageOf("whitelist"));
  EXPECT_TRUE(rules.whitelistRuleForDomain("a.com"));
}

TEST_F(PerSiteRulesTest, ACoveringRuleThatIsSwitchedOffCoversNothingAndNoOtherIsAsked) {
  whitelist({siteRule("1", {"a.com"}), siteRule("2", {"a.com"})});
  auto& preferences = dataManager.preferenceManager();
  preferences.disableRuleSynchronouslyWithoutReload(blockRule("2"), packageOf("whitelist"));
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com")->id, "1");
  preferences.disableRuleSynchronouslyWithoutReload(blockRule("1"), packageOf("whitelist"));
  preferences.enableRuleSynchronouslyWithoutReload(blockRule("2"), packageOf("whitelist"));
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com"), std::nullopt);
}

// The factories.

TEST_F(PerSiteRulesTest, AWhitelistRule) {
  const Domains domains{"b.com", "a.com"};
  const Trigger trigger{.urlFilter = ".*",
                        .caseSensitive = true,
                        .resourceTypes = std::nullopt,
                        .loadType = std::nullopt,
                        .domainFilter = DomainFilter{DomainFilterType::IfDomain, domains}};
  EXPECT_EQ(rules.whitelistRuleForDomains(domains, "id", "name"),
            (Rule{"id", "name", {trigger, *Action::make(ActionType::IgnorePreviousRules)}}));
  EXPECT_THAT(takeWarnings(), IsEmpty());
}

TEST_F(PerSiteRulesTest, AnHttpsRule) {
  const Trigger trigger{.urlFilter = ".*",
                        .caseSensitive = true,
                        .domainFilter = DomainFilter{DomainFilterType::IfDomain, {"a.com"}}};
  EXPECT_EQ(rules.makeHttpsRuleForDomains({"a.com"}, "id", "name"),
            (Rule{"id", "name", {trigger, *Action::make(ActionType::makeHttps)}}));
}

TEST_F(PerSiteRulesTest, AHideElementRule) {
  const DomainFilter filter{DomainFilterType::UnlessDomain, {"a.com", "b.com"}};
  const Trigger trigger{.urlFilter = ".*", .caseSensitive = true, .domainFilter = filter};
  EXPECT_EQ(rules.hideElementRule("div.ad", filter, "id", "name"),
            (Rule{"id", "name", {trigger, *Action::make(ActionType::Hide, "div.ad")}}));
  EXPECT_EQ(
      rules.hideElementRule("div.ad", std::nullopt, "id", "name")->blocker.trigger.domainFilter,
      std::nullopt);
}

TEST_F(PerSiteRulesTest, GeneratedNames) {
  const auto none = std::nullopt;
  EXPECT_EQ(rules.whitelistRuleForDomains({"example.com"}, "1", none)->name,
            "Whitelist example.com");
  EXPECT_EQ(rules.whitelistRuleForDomains({"a.com", "b.com", "c.com"}, "1", none)->name,
            "Whitelist 3 domains");
  EXPECT_EQ(rules.makeHttpsRuleForDomains({"example.com"}, "1", none)->name,
            "Make example.com HTTPS-only");
  EXPECT_EQ(rules.makeHttpsRuleForDomains({"a.com", "b.com"}, "1", "")->name,
            "Make 2 domains HTTPS-only");
  EXPECT_EQ(rules.hideElementRule("div.ad", none, "1", "")->name, "Hide div.ad");
}

TEST_F(PerSiteRulesTest, WithoutAnIdARuleGetsANewOne) {
  const auto first = rules.whitelistRuleForDomains({"a.com", "b.com"}, std::nullopt, "");
  EXPECT_EQ(first->name, "Whitelist 2 domains");
  EXPECT_EQ(first->id, "UUID-1");
  EXPECT_EQ(rules.makeHttpsRuleForDomains({"a.com"}, std::nullopt, "n")->id, "UUID-2");
  EXPECT_EQ(rules.hideElementRule("p", std::nullopt, std::nullopt, "n")->id, "UUID-3");
  EXPECT_EQ(rules.hideElementRule("p", std::nullopt, "", "n")->id, "");
}

TEST_F(PerSiteRulesTest, InvalidInputYieldsNoRuleAndOneWarning) {
  EXPECT_EQ(rules.whitelistRuleForDomains({}, "1", "n"), std::nullopt);
  EXPECT_THAT(takeWarnings(), ElementsAre("Domain list is empty"));
  EXPECT_EQ(rules.makeHttpsRuleForDomains({"a.com", "bad", "worse"}, "1", "n"), std::nullopt);
  EXPECT_THAT(takeWarnings(), ElementsAre("Invalid domain: 'bad'"));
  const DomainFilter empty{DomainFilterType::IfDomain, {}};
  EXPECT_EQ(rules.hideElementRule("", empty, "1", "n"), std::nullopt);
  EXPECT_THAT(takeWarnings(), ElementsAre("CSS Selector is empty"));
  EXPECT_EQ(rules.hideElementRule("p", empty, "1", "n"), std::nullopt);
  EXPECT_THAT(takeWarnings(), ElementsAre("Domain list is empty"));
  EXPECT_EQ(rules.whitelistRuleForDomains({"bad"}, std::nullopt, "n"), std::nullopt);
  EXPECT_EQ(process.machine.machine->uuidCount, 0);
}

TEST_F(PerSiteRulesTest, RulesAsJSON) {
  EXPECT_EQ(toJSON(rules.whitelistRuleForDomains({"a.com", "b.com"}, "1", "n")->blocker),
            R"({"trigger":{"url-filter":".*","url-filter-is-case-sensitive":true,)"
            R"("if-domain":["a.com","b.com"]},"action":{"type":"ignore-previous-rules"}})");
  EXPECT_EQ(toJSON(rules.hideElementRule("p", std::nullopt, "1", "n")->blocker),
            R"({"trigger":{"url-filter":".*","url-filter-is-case-sensitive":true},)"
            R"("action":{"type":"css-display-none","selector":"p"}})");
}

TEST_F(PerSiteRulesTest, ARuleIsMadeAddedFoundAndTakenOutAgain) {
  const auto made = rules.whitelistRuleForDomains({"a.com"}, std::nullopt, std::nullopt);
  ASSERT_TRUE(dataManager.addRule(*made, "whitelist"));
  const auto found = rules.whitelistRuleForDomain("a.com");
  EXPECT_EQ(found, made);
  EXPECT_TRUE(dataManager.replaceRule(*found, std::nullopt, ConfigurablePackageType::Whitelist));
  EXPECT_EQ(rules.whitelistRuleForDomain("a.com"), std::nullopt);
}

}  // namespace
}  // namespace orvane::test
