#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/JSON/RecordReader.h"
#include "Tests/BlockerKit/JSON/RecordReading.h"

namespace orvane::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* blockAds = R"({"trigger":{"url-filter":"ads"},"action":{"type":"block"}})";
constexpr const char* noFilter = R"({"trigger":{},"action":{"type":"block"}})";
constexpr const char* noType = R"({"trigger":{"url-filter":"ads"},"action":{}})";

std::string ruleJSON(std::string_view id, std::string_view content) {
  return fmt::format(R"({{"id":"{}","name":"n","content":{}}})", id, content);
}

std::vector<std::string> idsOf(const std::vector<Rule>& rules) {
  std::vector<std::string> ids;
  ids.reserve(rules.size());
  for (const auto& rule : rules) ids.push_back(rule.id);
  return ids;
}

class RecordReaderTest : public testing::Test {
 protected:
  /// The only rule of a list with this content.
  std::optional<Rule> ruleOf(std::string_view content) {
    const auto rules = reading.rules(arrayOf(ruleJSON("1", content)));
    EXPECT_TRUE(reading.parsed) << content;
    return rules.size() == 1 ? std::optional(rules.front()) : std::nullopt;
  }

  /// The trigger with these members behind its "url-filter".
  Trigger triggerWith(std::string_view members) {
    const auto rule = ruleOf(fmt::format(
        R"({{"trigger":{{"url-filter":"ads",{}}},"action":{{"type":"block"}}}})", members));
    EXPECT_TRUE(rule) << members;
    return rule ? rule->blocker.trigger : Trigger{.urlFilter = "no such rule"};
  }

  std::optional<Action> actionOf(std::string_view action) {
    const auto rule =
        ruleOf(fmt::format(R"({{"trigger":{{"url-filter":"ads"}},"action":{}}})", action));
    return rule ? std::optional(rule->blocker.action) : std::nullopt;
  }

  RecordReading reading;
};

TEST_F(RecordReaderTest, ReadsEveryFieldOfARule) {
  const auto rules = reading.rules(R"([ {
    "id": "1", "name": "one",
    "content": {
      "action": {"selector": "div.ad", "type": "css-display-none"},
      "trigger": {
        "unless-domain": ["a.test", "b.test"],
        "load-type": ["third-party", "first-party"],
        "resource-type": ["image", "svg-document"],
        "url-filter-is-case-sensitive": true,
        "url-filter": "ads"
      }
    }
  } ])");
  const Rule expected{
      "1",
      "one",
      {{.urlFilter = "ads",
        .caseSensitive = true,
        .resourceTypes = std::vector{ResourceType::Image, ResourceType::SVG},
        .loadType = std::vector{LoadType::ThirdParty, LoadType::FirstParty},
        .domainFilter = DomainFilter{DomainFilterType::UnlessDomain, {"a.test", "b.test"}}},
       *Action::make(ActionType::Hide, "div.ad")}};
  EXPECT_EQ(rules, std::vector{expected});
  EXPECT_THAT(reading.output.lines, IsEmpty());
  EXPECT_EQ(reading.uuidCount, 0);
}

TEST_F(RecordReaderTest, ReadsEveryWordOfEveryList) {
  EXPECT_EQ(
      triggerWith(R"("resource-type":["document","image","style-sheet","script","font","raw",)"
                  R"("svg-document","media","popup"])")
          .resourceTypes,
      (std::vector{ResourceType::Document, ResourceType::Image, ResourceType::StyleSheet,
                   ResourceType::Script, ResourceType::Font, ResourceType::Raw, ResourceType::SVG,
                   ResourceType::Media, ResourceType::Popup}));
  EXPECT_EQ(triggerWith(R"("load-type":["first-party","third-party","first-party"])").loadType,
            (std::vector{LoadType::FirstParty, LoadType::ThirdParty, LoadType::FirstParty}));
}

TEST_F(RecordReaderTest, ARuleWithoutUrlFilterIsDroppedAndThoseAroundItAreKept) {
  const auto rules = reading.rules(fmt::format("[{},{},{}]", ruleJSON("1", blockAds),
                                               ruleJSON("2", noFilter), ruleJSON("3", blockAds)));
  EXPECT_THAT(idsOf(rules), ElementsAre("1", "3"));
  EXPECT_THAT(reading.output.lines,
              ElementsAre("url-filter is empty", "trigger init failed", "blocker init failed"));
}

TEST_F(RecordReaderTest, AnUnknownActionTypeDropsTheRule) {
  EXPECT_FALSE(actionOf(R"({"type":"hide"})"));
  EXPECT_THAT(reading.output.lines,
              ElementsAre("action type is empty", "action init failed", "blocker init failed"));
}

TEST_F(RecordReaderTest, AMissingOrMistypedActionTypeDropsTheRule) {
  for (const char* action : {"{}", R"({"type":7})", R"({"type":null})", R"({"type":["block"]})",
                             R"({"type":""})", R"({"type":"Block"})", R"({"type":"block "})", "7",
                             "null", "\"block\"", "[]", "[\"block\"]"}) {
    EXPECT_FALSE(actionOf(action)) << action;
    EXPECT_THAT(reading.output.take(),
                ElementsAre("action type is empty", "action init failed", "blocker init failed"))
        << action;
  }
}

TEST_F(RecordReaderTest, AMissingOrMistypedUrlFilterDropsTheRule) {
  for (const char* trigger :
       {"{}", R"({"url-filter":7})", R"({"url-filter":null})", R"({"url-filter":["ads"]})",
        R"({"URL-filter":"ads"})", "7", "null", "\"ads\"", "[]", "true"}) {
    EXPECT_FALSE(ruleOf(fmt::format(R"({{"trigger":{},"action":{{"type":"block"}}}})", trigger)));
    EXPECT_THAT(reading.output.take(),
                ElementsAre("url-filter is empty", "trigger init failed", "blocker init failed"))
        << trigger;
  }
}

TEST_F(RecordReaderTest, AMissingOrMistypedContentFailsAtTheTrigger) {
  const auto rules = reading.rules(R"([{"id":"1"},{"content":7},{"content":null},{"content":[]},)"
                                   R"({"content":{}},7,null,"text",[],true])");
  EXPECT_THAT(rules, IsEmpty());
  const auto lines = reading.output.take();
  ASSERT_EQ(lines.size(), 30U);
  for (std::size_t index = 0; index < lines.size(); index += 3) {
    EXPECT_EQ(lines[index], "url-filter is empty");
    EXPECT_EQ(lines[index + 1], "trigger init failed");
    EXPECT_EQ(lines[index + 2], "blocker init failed");
  }
}

TEST_F(RecordReaderTest, AFailedTriggerLeavesTheActionUnread) {
  EXPECT_FALSE(ruleOf(R"({"trigger":{},"action":{}})"));
  EXPECT_THAT(reading.output.lines,
              ElementsAre("url-filter is empty", "trigger init failed", "blocker init failed"));
}

TEST_F(RecordReaderTest, EachBadRuleHasItsOwnMessagesInTheOrderOfTheRules) {
  const auto rules = reading.rules(fmt::format("[{},{},{}]", ruleJSON("1", noType),
                                               ruleJSON("2", blockAds), ruleJSON("3", noFilter)));
  EXPECT_THAT(idsOf(rules), ElementsAre("2"));
  EXPECT_THAT(reading.output.lines,
              ElementsAre("action type is empty", "action init failed", "blocker init failed",
                          "url-filter is empty", "trigger init failed", "blocker init failed"));
}

TEST_F(RecordReaderTest, AnEmptyUrlFilterIsAccepted) {
  const auto rule = ruleOf(R"({"trigger":{"url-filter":""},"action":{"type":"block"}})");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.trigger, Trigger{.urlFilter = ""});
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, OnlyTheValueTrueMakesATriggerCaseSensitive) {
  EXPECT_TRUE(triggerWith(R"("url-filter-is-case-sensitive":true)").caseSensitive);
  for (const char* value : {"false", "null", "1", "1.0", "\"true\"", "[true]", "{}"}) {
    EXPECT_FALSE(
        triggerWith(fmt::format(R"("url-filter-is-case-sensitive":{})", value)).caseSensitive)
        << value;
  }
  EXPECT_FALSE(triggerWith(R"("other":1)").caseSensitive);
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, UnknownResourceTypesAreSkippedWithoutAMessage) {
  EXPECT_EQ(triggerWith(R"("resource-type":["image","bogus",7])").resourceTypes,
            std::vector{ResourceType::Image});
  EXPECT_EQ(triggerWith(R"("resource-type":[null,"Image","svg",["image"],{}])").resourceTypes,
            std::vector<ResourceType>());
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, UnknownLoadTypesAreSkippedWithoutAMessage) {
  EXPECT_EQ(triggerWith(R"("load-type":["bogus","third-party",7])").loadType,
            std::vector{LoadType::ThirdParty});
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, AnEmptyListIsNotAnAbsentOne) {
  const auto trigger = triggerWith(R"("resource-type":[],"load-type":[],"if-domain":[])");
  EXPECT_EQ(trigger.resourceTypes, std::vector<ResourceType>());
  EXPECT_EQ(trigger.loadType, std::vector<LoadType>());
  EXPECT_EQ(trigger.domainFilter, (DomainFilter{DomainFilterType::IfDomain, {}}));
}

TEST_F(RecordReaderTest, AListThatIsNoArrayIsAbsent) {
  for (const char* value : {"null", "true", "7", "\"image\"", R"({"0":"image"})"}) {
    EXPECT_EQ(triggerWith(fmt::format(R"("resource-type":{0},"load-type":{0},"if-domain":{0},)"
                                      R"("unless-domain":{0})",
                                      value)),
              Trigger{.urlFilter = "ads"})
        << value;
  }
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, DomainsThatAreNoStringsAreSkipped) {
  EXPECT_EQ(triggerWith(R"("if-domain":["b.test",7,null,"a.test",["c.test"],""])").domainFilter,
            (DomainFilter{DomainFilterType::IfDomain, {"b.test", "a.test", ""}}));
  EXPECT_EQ(triggerWith(R"("unless-domain":[true,"a.test"])").domainFilter,
            (DomainFilter{DomainFilterType::UnlessDomain, {"a.test"}}));
}

TEST_F(RecordReaderTest, IfDomainWinsOverUnlessDomain) {
  const DomainFilter expected{DomainFilterType::IfDomain, {"a.test"}};
  EXPECT_EQ(triggerWith(R"("if-domain":["a.test"],"unless-domain":["b.test"])").domainFilter,
            expected);
  EXPECT_EQ(triggerWith(R"("unless-domain":["b.test"],"if-domain":["a.test"])").domainFilter,
            expected);
  EXPECT_EQ(triggerWith(R"("unless-domain":["b.test"],"if-domain":[])").domainFilter,
            (DomainFilter{DomainFilterType::IfDomain, {}}));
}

TEST_F(RecordReaderTest, AnIfDomainThatIsNoArrayLeavesUnlessDomainToBeRead) {
  EXPECT_EQ(triggerWith(R"("if-domain":"a.test","unless-domain":["b.test"])").domainFilter,
            (DomainFilter{DomainFilterType::UnlessDomain, {"b.test"}}));
}

TEST_F(RecordReaderTest, ReadsEveryActionType) {
  for (const auto& [type, word] : RawValues<ActionType>::table) {
    EXPECT_EQ(actionOf(fmt::format(R"({{"type":"{}"}})", word)),
              Action::asRead(type, std::nullopt));
  }
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, ASelectorIsKeptWhateverTheType) {
  for (const auto& [type, word] : RawValues<ActionType>::table) {
    EXPECT_EQ(actionOf(fmt::format(R"({{"type":"{}","selector":"div.ad"}})", word)),
              Action::asRead(type, "div.ad"));
  }
}

TEST_F(RecordReaderTest, AHideActionWithoutSelectorIsAccepted) {
  EXPECT_EQ(actionOf(R"({"type":"css-display-none"})"),
            Action::asRead(ActionType::Hide, std::nullopt));
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, ASelectorThatIsNoStringIsAbsent) {
  for (const char* selector : {"7", "null", "[\"div.ad\"]", "{}", "true"}) {
    EXPECT_EQ(actionOf(fmt::format(R"({{"type":"css-display-none","selector":{}}})", selector)),
              Action::asRead(ActionType::Hide, std::nullopt))
        << selector;
  }
  EXPECT_EQ(actionOf(R"({"type":"css-display-none","selector":""})"),
            Action::asRead(ActionType::Hide, ""));
}

TEST_F(RecordReaderTest, ARuleWithoutAStringForAnIdGetsANewOneAtEveryReading) {
  const auto json = fmt::format(R"([{{"name":"a","content":{0}}},{{"id":7,"content":{0}}},)"
                                R"({{"id":null,"content":{0}}}])",
                                blockAds);
  EXPECT_THAT(idsOf(reading.rules(json)), ElementsAre("UUID-1", "UUID-2", "UUID-3"));
  EXPECT_THAT(idsOf(reading.rules(json)), ElementsAre("UUID-4", "UUID-5", "UUID-6"));
}

TEST_F(RecordReaderTest, AnEmptyIdIsAnId) {
  EXPECT_THAT(idsOf(reading.rules(arrayOf(ruleJSON("", blockAds)))), ElementsAre(""));
  EXPECT_EQ(reading.uuidCount, 0);
}

TEST_F(RecordReaderTest, ADroppedRuleTakesNoNewId) {
  EXPECT_THAT(reading.rules(fmt::format(R"([{{"content":{}}}])", noType)), IsEmpty());
  EXPECT_EQ(reading.uuidCount, 0);
}

TEST_F(RecordReaderTest, AMissingOrMistypedNameIsEmpty) {
  const auto rules = reading.rules(fmt::format(
      R"([{{"id":"1","content":{0}}},{{"id":"2","name":7,"content":{0}}},)"
      R"({{"id":"3","name":null,"content":{0}}},{{"id":"4","name":"x","content":{0}}}])",
      blockAds));
  ASSERT_EQ(rules.size(), 4U);
  EXPECT_EQ(rules[0].name, "");
  EXPECT_EQ(rules[1].name, "");
  EXPECT_EQ(rules[2].name, "");
  EXPECT_EQ(rules[3].name, "x");
}

TEST_F(RecordReaderTest, WhatIsNoArrayHoldsNoRulesAndNoPackages) {
  for (const char* json : {"{}", "null", "7", "true", "\"[]\"", R"({"rules":[]})"}) {
    EXPECT_THAT(reading.rules(json), IsEmpty()) << json;
    EXPECT_TRUE(reading.parsed);
    EXPECT_THAT(reading.packages(json), IsEmpty()) << json;
  }
  EXPECT_THAT(RecordReader(reading.output, [] { return std::string(); }).rulesArrayValue({}),
              IsEmpty());
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, ReadsPackagesInOrder) {
  const auto packages = reading.packages(fmt::format(
      R"([{{"rules":[{}],"name":"One","id":"one"}},{{"id":"two","name":"Two","rules":[]}}])",
      ruleJSON("1", blockAds)));
  const Blocker blocker{{.urlFilter = "ads"}, *Action::make(ActionType::Block)};
  EXPECT_EQ(packages,
            (std::vector<Package>{{"one", "One", {{"1", "n", blocker}}}, {"two", "Two", {}}}));
}

TEST_F(RecordReaderTest, APackageWithoutRulesIsAPackage) {
  for (const char* rules : {"", R"(,"rules":null)", R"(,"rules":{})", R"(,"rules":"[]")"}) {
    EXPECT_EQ(reading.packages(fmt::format(R"([{{"id":"p","name":"P"{}}}])", rules)),
              (std::vector<Package>{{"p", "P", {}}}));
  }
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

TEST_F(RecordReaderTest, APackageStaysWhenNoneOfItsRulesDoes) {
  EXPECT_EQ(reading.packages(
                fmt::format(R"([{{"id":"p","name":"P","rules":[{}]}}])", ruleJSON("1", noFilter))),
            (std::vector<Package>{{"p", "P", {}}}));
  EXPECT_THAT(reading.output.lines,
              ElementsAre("url-filter is empty", "trigger init failed", "blocker init failed"));
}

TEST_F(RecordReaderTest, APackageWithoutAStringForAnIdGetsANewOneAtEveryReading) {
  const std::string json = R"([{"name":"P"},{"id":7},7,null])";
  const auto expected = [](int first) {
    return std::vector<Package>{{fmt::format("UUID-{}", first), "P", {}},
                                {fmt::format("UUID-{}", first + 1), "", {}},
                                {fmt::format("UUID-{}", first + 2), "", {}},
                                {fmt::format("UUID-{}", first + 3), "", {}}};
  };
  EXPECT_EQ(reading.packages(json), expected(1));
  EXPECT_EQ(reading.packages(json), expected(5));
}

TEST_F(RecordReaderTest, APackageGetsItsIdBeforeItsRulesGetTheirs) {
  const auto packages =
      reading.packages(fmt::format(R"([{{"rules":[{{"content":{}}}]}}])", blockAds));
  ASSERT_EQ(packages.size(), 1U);
  EXPECT_EQ(packages[0].id, "UUID-1");
  EXPECT_THAT(idsOf(packages[0].rules), ElementsAre("UUID-2"));
}

TEST_F(RecordReaderTest, OnePackageIsAnObject) {
  EXPECT_EQ(reading.package(R"({"id":"p","name":"P"})"), (Package{"p", "P", {}}));
  EXPECT_EQ(reading.package("{}"), (Package{"UUID-1", "", {}}));
  for (const char* json : {"[]", R"([{"id":"p"}])", "null", "7", "\"p\""}) {
    EXPECT_FALSE(reading.package(json)) << json;
    EXPECT_TRUE(reading.parsed);
  }
}

TEST_F(RecordReaderTest, OfDuplicateKeysTheLastCounts) {
  const auto rule = ruleOf(
      R"({"trigger":{"url-filter":"a","if-domain":["x.test"],"url-filter":"b","if-domain":7},)"
      R"("action":{"type":"bogus","type":"block"}})");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.trigger, Trigger{.urlFilter = "b"});
  EXPECT_EQ(rule->blocker.action.type(), ActionType::Block);
  EXPECT_FALSE(ruleOf(R"({"trigger":{"url-filter":"a","url-filter":null},)"
                      R"("action":{"type":"block"}})"));
}

TEST_F(RecordReaderTest, AnEscapedKeyIsTheKeyThatItStandsFor) {
  const auto rule = ruleOf(R"({"trigger":{"url\u002dfilter":"a"},"action":{"type":"\u0062lock"}})");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->blocker.trigger.urlFilter, "a");
}

TEST_F(RecordReaderTest, UnknownKeysAreIgnored) {
  EXPECT_TRUE(ruleOf(R"({"trigger":{"url-filter":"a","if-top-url":["x"],"":[[]]},)"
                     R"("action":{"type":"block","redirect":{}},"comment":1e3})"));
  EXPECT_THAT(reading.output.lines, IsEmpty());
}

}  // namespace
}  // namespace orvane::test
