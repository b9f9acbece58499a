#include <stdexcept>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/ContentBlockerLint.h"

namespace orvane {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

BlockerLint lint(const std::string& json) {
  const auto document = JSONDocument::parse(json);
  if (!document) throw std::runtime_error("not JSON: " + json);
  return lintContentBlocker(document->root());
}

BlockerLint lintTriggerOf(const std::string& members) {
  return lint(R"({"trigger":{)" + members + R"(},"action":{"type":"block"}})");
}

BlockerLint lintActionOf(const std::string& members) {
  return lint(R"({"trigger":{"url-filter":"a"},"action":{)" + members + "}}");
}

auto finding(Severity severity, std::string_view key, std::string_view reason) {
  return Contains(AllOf(Field(&Finding::severity, severity), Field(&Finding::key, key),
                        Field(&Finding::reason, HasSubstr(reason))));
}

struct Expected {
  std::string members;
  std::string_view key;
  std::string_view reason;
};

TEST(ContentBlockerLintTest, HasNothingAgainstGoodRules) {
  for (
      const auto rule : {
          R"({"trigger":{"url-filter":".*"},"action":{"type":"block"}})",
          R"({"trigger":{"url-filter":"a","url-filter-is-case-sensitive":true,
               "resource-type":["image","popup"],"load-type":["third-party"],
               "if-domain":["*site.test"]},"action":{"type":"block-cookies"}})",
          R"({"trigger":{"url-filter":"a"},"action":{"type":"css-display-none","selector":"a, b"}})",
          R"({"trigger":{"url-filter":"a"},"action":{"type":"make-https"}})",
          R"({"trigger":{"url-filter":"a","unless-domain":["a.test"]},
               "action":{"type":"ignore-previous-rules"}})",
      }) {
    EXPECT_THAT(lint(rule).findings, IsEmpty()) << rule;
  }
}

TEST(ContentBlockerLintTest, RefusesWhatIsNotARule) {
  for (const auto rule : {"7", "null", "[]", "\"a\"", "true"}) {
    EXPECT_THAT(lint(rule).findings, finding(Severity::Error, "", "has to be an object")) << rule;
  }
  EXPECT_THAT(lint("{}").findings, finding(Severity::Error, "trigger", "has no \"trigger\""));
  EXPECT_THAT(lint("{}").findings, finding(Severity::Error, "action", "has no \"action\""));
  for (const auto value : {"7", "null", "[]", "\"a\"", "true"}) {
    const auto findings =
        lint(std::string(R"({"trigger":)") + value + R"(,"action":)" + value + "}").findings;
    EXPECT_THAT(findings, finding(Severity::Error, "trigger", "has to be an object")) << value;
    EXPECT_THAT(findings, finding(Severity::Error, "action", "has to be an object")) << value;
  }
}

TEST(ContentBlockerLintTest, RefusesBadTriggers) {
  const Expected table[] = {
      {"", "trigger.url-filter", "has no \"url-filter\""},
      {R"("url-filter":7)", "trigger.url-filter", "is a number"},
      {R"("url-filter":null)", "trigger.url-filter", "is null"},
      {R"("url-filter":"")", "trigger.url-filter", "is empty"},
      {R"("url-filter":"a|b")", "trigger.url-filter", "alternatives"},
      {R"("url-filter":"a","resource-type":"image")", "trigger.resource-type", "is a text"},
      {R"("url-filter":"a","resource-type":null)", "trigger.resource-type", "is null"},
      {R"("url-filter":"a","resource-type":[7])", "trigger.resource-type", "is a number"},
      {R"("url-filter":"a","resource-type":["svg"])", "trigger.resource-type", "\"svg\" is not"},
      {R"("url-filter":"a","load-type":["third"])", "trigger.load-type", "\"third\" is not"},
      {R"("url-filter":"a","load-context":["frame"])", "trigger.load-context", "\"frame\" is not"},
      {R"("url-filter":"a","request-method":"other")", "trigger.request-method", "one of"},
      {R"("url-filter":"a","request-method":["get"])", "trigger.request-method", "one of"},
      {R"("url-filter":"a","if-domain":"a")", "trigger.if-domain", "is a text"},
      {R"("url-filter":"a","if-domain":[])", "trigger.if-domain", "is empty"},
      {R"("url-filter":"a","if-domain":[""])", "trigger.if-domain", "empty text"},
      {R"("url-filter":"a","if-domain":[7])", "trigger.if-domain", "is a number"},
      {R"("url-filter":"a","unless-domain":["A"])", "trigger.unless-domain", "capital letters"},
      {R"("url-filter":"a","if-top-url":["a|b"])", "trigger.if-top-url", "alternatives"},
      {R"("url-filter":"a","if-domain":["a"],"unless-domain":["b"])", "trigger.unless-domain",
       "both \"if-domain\" and \"unless-domain\""},
      {R"("url-filter":"a","if-top-url":["a"],"unless-frame-url":["b"])",
       "trigger.unless-frame-url", "only one condition"},
  };
  for (const auto& [members, key, reason] : table) {
    const auto result = lintTriggerOf(members);
    EXPECT_TRUE(result.isRefused()) << members;
    EXPECT_THAT(result.findings, finding(Severity::Error, key, reason)) << members;
  }
}

TEST(ContentBlockerLintTest, WarnsOfTriggersThatMeanSomethingElse) {
  const Expected table[] = {
      {R"("url-filter":"a","url-filter-is-case-sensitive":1)",
       "trigger.url-filter-is-case-sensitive", "is ignored"},
      {R"("url-filter":"a","resource-type":[])", "trigger.resource-type", "is empty"},
      {R"("url-filter":"a","resource-type":["fetch"])", "trigger.resource-type", "is lost"},
      {R"("url-filter":"a","load-context":["top-frame"])", "trigger.load-context", "is lost"},
      {R"("url-filter":"a","request-method":"GET")", "trigger.request-method", "is lost"},
      {R"("url-filter":"a","if-top-url":["a"])", "trigger.if-top-url", "is lost"},
      {R"("url-filter":"a","if-frame-url":["a"])", "trigger.if-frame-url", "is lost"},
      {R"("url-filter":"a","if-domain":["*.a"])", "trigger.if-domain", "matches no site"},
      {R"("url-filter":"a","url_filter":"b")", "trigger.url_filter", "is not known"},
      {R"("url-filter":"a","url-filter":"b")", "trigger.url-filter", "more than once"},
  };
  for (const auto& [members, key, reason] : table) {
    const auto result = lintTriggerOf(members);
    EXPECT_FALSE(result.isRefused()) << members;
    EXPECT_THAT(result.findings, finding(Severity::Warning, key, reason)) << members;
  }
  const std::string slow = "\"url-filter\":\"" + std::string(2001, 'a') + "\"";
  EXPECT_THAT(lintTriggerOf(slow).findings,
              finding(Severity::Warning, "trigger.url-filter", "needs seconds"));
}

TEST(ContentBlockerLintTest, RefusesBadActions) {
  const Expected table[] = {
      {"", "action.type", "has no \"type\""},
      {R"("type":7)", "action.type", "is a number"},
      {R"("type":"Block")", "action.type", "is not an action"},
      {R"("type":"css-display-none")", "action.selector", "has no \"selector\""},
      {R"("type":"css-display-none","selector":7)", "action.selector", "is a number"},
      {R"("type":"notify")", "action.notification", "needs"},
      {R"("type":"redirect")", "action.redirect", "needs"},
      {R"("type":"redirect","redirect":{"url":"x"})", "action.redirect", "not an absolute URL"},
      {R"("type":"redirect","redirect":{"url":"javascript:1"})", "action.redirect", "a script"},
      {R"("type":"redirect","redirect":{"transform":{"port":"x"}})", "action.redirect", "\"port\""},
      {R"("type":"modify-headers")", "action.priority", "positive integer"},
      {R"("type":"modify-headers","priority":1,"request-headers":[{"operation":"set"}])",
       "action.request-headers", "\"header\""},
  };
  for (const auto& [members, key, reason] : table) {
    const auto result = lintActionOf(members);
    EXPECT_TRUE(result.isRefused()) << members;
    EXPECT_THAT(result.findings, finding(Severity::Error, key, reason)) << members;
  }
}

TEST(ContentBlockerLintTest, WarnsOfActionsThatPackagesDoNotHave) {
  for (const auto members :
       {R"("type":"ignore-following-rules")", R"("type":"notify","notification":"n")",
        R"("type":"redirect","redirect":{"url":"https://a.test/"})",
        R"("type":"modify-headers","priority":1)"}) {
    const auto result = lintActionOf(members);
    EXPECT_FALSE(result.isRefused()) << members;
    EXPECT_THAT(result.findings, finding(Severity::Warning, "action.type", "dropped")) << members;
  }
}

TEST(ContentBlockerLintTest, WarnsOfASelectorWithoutUse) {
  EXPECT_THAT(lintActionOf(R"("type":"block","selector":"((")").findings,
              finding(Severity::Warning, "action.selector", "has no use"));
}

TEST(ContentBlockerLintTest, SaysThatAnInvalidSelectorDropsTheRule) {
  const auto result = lintActionOf(R"("type":"css-display-none","selector":"a, b[")");
  EXPECT_TRUE(result.isDropped);
  EXPECT_FALSE(result.isRefused());
  EXPECT_THAT(result.findings,
              finding(Severity::Warning, "action.selector", "drops the whole rule"));
}

TEST(ContentBlockerLintTest, TakesABadExpressionOfADroppedRuleForHarmless) {
  const auto rule = [](std::string_view trigger) {
    return lint("{\"trigger\":{" + std::string(trigger) +
                R"(},"action":{"type":"css-display-none","selector":"("}})");
  };
  EXPECT_FALSE(rule(R"("url-filter":"a|b")").isRefused());
  EXPECT_FALSE(rule(R"("url-filter":"a","if-domain":["a|b"])").isRefused());
  EXPECT_TRUE(rule(R"("url-filter":"")").isRefused());
  EXPECT_TRUE(rule(R"("url-filter":"a","if-domain":["A"])").isRefused());
}

TEST(ContentBlockerLintTest, JudgesTheLastOfEqualKeys) {
  EXPECT_TRUE(lintTriggerOf(R"("url-filter":"a","url-filter":"a|b")").isRefused());
  EXPECT_FALSE(lintTriggerOf(R"("url-filter":"a|b","url-filter":"a")").isRefused());
}

TEST(ContentBlockerLintTest, FindsEverythingThatIsWrongWithARule) {
  EXPECT_THAT(
      lint(R"({"trigger":{"url-filter":"a|b","load-type":7},"action":{"type":"x"}})").findings,
      SizeIs(3));
}

}  // namespace
}  // namespace orvane
