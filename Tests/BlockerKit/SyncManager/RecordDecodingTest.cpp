#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "Tests/BlockerKit/SyncManager/SyncManagerFixture.h"

namespace orvane::test {
namespace {

using Strings = std::vector<std::string>;

const CKRecord::Fields blockRecord{
    {"name", "R"}, {"urlFilter", "x"}, {"caseSensitive", false}, {"actionType", "block"}};

std::optional<Rule> ruleOf(CKRecord::Fields fields) {
  return ruleFromRecord({"rule", {"r1", rulesZone}, "tag", std::move(fields)});
}

/// The rule of a record that also has that field.
std::optional<Rule> ruleWith(const std::string& key, CKRecordValue value) {
  auto fields = blockRecord;
  fields.insert_or_assign(key, std::move(value));
  return ruleOf(std::move(fields));
}

TEST(RuleFromRecord, IsNamedByTheRecordAndHasOnlyWhatTheRecordHas) {
  EXPECT_EQ(ruleOf(blockRecord), blockRule("r1"));
}

TEST(RuleFromRecord, HasEverythingThatTheRecordHas) {
  EXPECT_EQ(ruleOf({{"name", "Hide it"},
                    {"package", CKReference{{"hide-elements", rulesZone}}},
                    {"urlFilter", ".*"},
                    {"caseSensitive", true},
                    {"resourceTypes", Strings{"raw", "popup"}},
                    {"loadType", Strings{"first-party"}},
                    {"domainFilterType", "if-domain"},
                    {"domainFilterValues", Strings{"b.example", "a.example"}},
                    {"actionType", "css-display-none"},
                    {"selector", ".ad"}}),
            (Rule{"r1",
                  "Hide it",
                  {{.urlFilter = ".*",
                    .caseSensitive = true,
                    .resourceTypes = {{ResourceType::Raw, ResourceType::Popup}},
                    .loadType = {{LoadType::FirstParty}},
                    .domainFilter = {{DomainFilterType::IfDomain, {"b.example", "a.example"}}}},
                   *Action::make(ActionType::Hide, ".ad")}}));
}

TEST(RuleFromRecord, IsNoneWithoutAFieldThatARuleNeeds) {
  for (const auto* key : {"name", "urlFilter", "caseSensitive", "actionType"}) {
    auto fields = blockRecord;
    fields.erase(key);
    EXPECT_EQ(ruleOf(fields), std::nullopt) << key;
  }
}

TEST(RuleFromRecord, IsNoneWhenAFieldIsOfAnotherType) {
  for (const auto* key : {"name", "urlFilter", "actionType", "selector", "domainFilterType"}) {
    EXPECT_EQ(ruleWith(key, std::int64_t{1}), std::nullopt) << key;
    EXPECT_EQ(ruleWith(key, Strings{"block"}), std::nullopt) << key;
  }
  for (const auto* key : {"resourceTypes", "loadType", "domainFilterValues"}) {
    EXPECT_EQ(ruleWith(key, "script"), std::nullopt) << key;
    EXPECT_EQ(ruleWith(key, true), std::nullopt) << key;
  }
  EXPECT_EQ(ruleWith("caseSensitive", "true"), std::nullopt);
  EXPECT_EQ(ruleWith("caseSensitive", std::int64_t{2}), std::nullopt);
}

TEST(RuleFromRecord, TakesTheNumbersZeroAndOneForABoolean) {
  ASSERT_TRUE(ruleWith("caseSensitive", std::int64_t{1}));
  EXPECT_TRUE(ruleWith("caseSensitive", std::int64_t{1})->blocker.trigger.caseSensitive);
  ASSERT_TRUE(ruleWith("caseSensitive", std::int64_t{0}));
  EXPECT_FALSE(ruleWith("caseSensitive", std::int64_t{0})->blocker.trigger.caseSensitive);
}

TEST(RuleFromRecord, IsNoneWhenTheActionIsUnknown) {
  EXPECT_EQ(ruleWith("actionType", "redirect"), std::nullopt);
  EXPECT_EQ(ruleWith("actionType", "Block"), std::nullopt);
}

TEST(RuleFromRecord, SkipsUnknownWordsOfAList) {
  const auto rule = ruleWith("resourceTypes", Strings{"websocket", "script", "ping", "raw"});
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.trigger.resourceTypes,
            (std::vector{ResourceType::Script, ResourceType::Raw}));
  const auto loaded = ruleWith("loadType", Strings{"zeroth-party", "third-party"});
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->blocker.trigger.loadType, (std::vector{LoadType::ThirdParty}));
}

TEST(RuleFromRecord, IsNoneWhenNothingIsLeftOfAListThatLimitedIt) {
  EXPECT_EQ(ruleWith("resourceTypes", Strings{"websocket"}), std::nullopt);
  EXPECT_EQ(ruleWith("loadType", Strings{"zeroth-party"}), std::nullopt);
}

TEST(RuleFromRecord, TellsAnEmptyListFromAnAbsentOne) {
  const auto rule = ruleWith("resourceTypes", Strings{});
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.trigger.resourceTypes, std::vector<ResourceType>());
  EXPECT_EQ(rule->blocker.trigger.loadType, std::nullopt);
}

TEST(RuleFromRecord, IsNoneWhenItsDomainFilterCannotBeTold) {
  EXPECT_EQ(ruleWith("domainFilterType", "if-domain"), std::nullopt);
  EXPECT_EQ(ruleWith("domainFilterValues", Strings{"a.example"}), std::nullopt);
  auto fields = blockRecord;
  fields.emplace("domainFilterType", "if-top-url");
  fields.emplace("domainFilterValues", Strings{"a.example"});
  EXPECT_EQ(ruleOf(fields), std::nullopt);
}

TEST(RuleFromRecord, KeepsASelectorWhateverTheAction) {
  const auto rule = ruleWith("selector", ".ad");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.action, Action::asRead(ActionType::Block, ".ad"));
}

TEST(PackageIdentifierFromRecord, IsTheNameThatAReferenceHas) {
  const auto identifier = [](CKRecord::Fields fields) {
    return packageIdentifierFromRecord({"rule", {"r1", rulesZone}, "tag", std::move(fields)});
  };
  EXPECT_EQ(identifier({{"package", CKReference{{"p1", rulesZone}}}}), "p1");
  EXPECT_EQ(identifier({{"package", "p1"}}), std::nullopt);
  EXPECT_EQ(identifier({}), std::nullopt);
}

TEST(PackageFromRecord, HasTheNameAndNoRules) {
  EXPECT_EQ(packageFromRecord({"package", {"p1", rulesZone}, "tag", {{"name", "Mine"}}}),
            (Package{"p1", "Mine", {}}));
}

TEST(PackageFromRecord, IsNoneWithoutAName) {
  EXPECT_EQ(packageFromRecord({"package", {"p1", rulesZone}, "tag", {}}), std::nullopt);
  EXPECT_EQ(packageFromRecord({"package", {"p1", rulesZone}, "tag", {{"name", true}}}),
            std::nullopt);
}

}  // namespace
}  // namespace orvane::test
