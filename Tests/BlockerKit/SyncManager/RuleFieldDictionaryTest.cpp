#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/FieldDictionary.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

TEST(RuleFieldDictionary, HasOnlyWhatTheRuleHas) {
  EXPECT_EQ(ruleFieldDictionary(blockRule("1", ".*ad"), "block-url"),
            (Dictionary{{"name", "R"},
                        {"package", "block-url"},
                        {"urlFilter", ".*ad"},
                        {"caseSensitive", false},
                        {"actionType", "block"}}));
}

TEST(RuleFieldDictionary, HasEveryFieldOfARuleThatHasThemAll) {
  const Rule rule{"1",
                  "Hide it",
                  {{.urlFilter = ".*",
                    .caseSensitive = true,
                    .resourceTypes = {{ResourceType::Script, ResourceType::Image}},
                    .loadType = {{LoadType::ThirdParty}},
                    .domainFilter = {{DomainFilterType::UnlessDomain, {"b.example", "a.example"}}}},
                   *Action::make(ActionType::Hide, ".ad")}};
  EXPECT_EQ(ruleFieldDictionary(rule, "hide-elements"),
            (Dictionary{{"name", "Hide it"},
                        {"package", "hide-elements"},
                        {"urlFilter", ".*"},
                        {"caseSensitive", true},
                        {"resourceTypes", Array{"script", "image"}},
                        {"loadType", Array{"third-party"}},
                        {"domainFilterType", "unless-domain"},
                        {"domainFilterValues", Array{"b.example", "a.example"}},
                        {"actionType", "css-display-none"},
                        {"selector", ".ad"}}));
}

TEST(RuleFieldDictionary, NamesAllNineResourceTypes) {
  auto rule = blockRule("1");
  rule.blocker.trigger.resourceTypes = {
      ResourceType::Document, ResourceType::Image, ResourceType::StyleSheet,
      ResourceType::Script,   ResourceType::Font,  ResourceType::Raw,
      ResourceType::SVG,      ResourceType::Media, ResourceType::Popup};
  EXPECT_EQ(ruleFieldDictionary(rule, "p").at("resourceTypes"),
            PropertyListValue(Array{"document", "image", "style-sheet", "script", "font", "raw",
                                    "svg-document", "media", "popup"}));
}

TEST(RuleFieldDictionary, NamesEveryAction) {
  const auto actionType = [](ActionType type) {
    const Rule rule{"1", "", {{.urlFilter = "x"}, Action::asRead(type, std::nullopt)}};
    return *ruleFieldDictionary(rule, "p").at("actionType").as<std::string>();
  };
  EXPECT_EQ(actionType(ActionType::Block), "block");
  EXPECT_EQ(actionType(ActionType::BlockCookies), "block-cookies");
  EXPECT_EQ(actionType(ActionType::Hide), "css-display-none");
  EXPECT_EQ(actionType(ActionType::IgnorePreviousRules), "ignore-previous-rules");
  EXPECT_EQ(actionType(ActionType::makeHttps), "make-https");
}

TEST(RuleFieldDictionary, TellsAnEmptyListFromAnAbsentOne) {
  auto rule = blockRule("1");
  rule.blocker.trigger.resourceTypes.emplace();
  rule.blocker.trigger.loadType.emplace();
  rule.blocker.trigger.domainFilter = {DomainFilterType::IfDomain, {}};
  const auto fields = ruleFieldDictionary(rule, "p");
  for (const auto* key : {"resourceTypes", "loadType", "domainFilterValues"}) {
    EXPECT_EQ(fields.at(key), PropertyListValue(Array{})) << key;
  }
}

TEST(PackageFieldDictionary, HasTheNameAlone) {
  EXPECT_EQ(packageFieldDictionary("Mine"), (Dictionary{{"name", "Mine"}}));
}

}  // namespace
}  // namespace orvane::test
