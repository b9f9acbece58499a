#include <string>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/Check.h"

namespace orvane {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::string_view blocker = R"({"trigger":{"url-filter":"a"},"action":{"type":"block"}})";
constexpr std::string_view badBlocker =
    R"({"trigger":{"url-filter":"a|b"},"action":{"type":"block"}})";

std::string rule(std::string_view id, std::string_view content = blocker) {
  return "{\"id\":\"" + std::string(id) + "\",\"name\":\"n\",\"content\":" + std::string(content) +
         "}";
}

std::string package(std::string_view id, const std::string& rules) {
  return "{\"id\":\"" + std::string(id) + "\",\"name\":\"n\",\"rules\":[" + rules + "]}";
}

std::string inBrackets(std::string_view elements) {
  std::string text = "[";
  text += elements;
  return text += ']';
}

/// The one finding of a text; the test fails when there are more or fewer.
CheckFinding onlyFinding(const std::string& text) {
  const auto report = checkText(text);
  EXPECT_THAT(report.findings, SizeIs(1)) << text;
  return report.findings.empty() ? CheckFinding{} : report.findings.front();
}

TEST(CheckTest, RecognisesTheKindsOfFiles) {
  const auto list = checkText(inBrackets(std::string(blocker) + "," + std::string(blocker)));
  EXPECT_EQ(list.kind, DocumentKind::List);
  EXPECT_EQ(list.rules, 2U);
  EXPECT_EQ(list.packages, 0U);
  const auto rules = checkText(inBrackets(rule("1")));
  EXPECT_EQ(rules.kind, DocumentKind::RuleList);
  EXPECT_EQ(rules.rules, 1U);
  const auto one = checkText(package("p", rule("1") + "," + rule("2")));
  EXPECT_EQ(one.kind, DocumentKind::Package);
  EXPECT_EQ(one.packages, 1U);
  EXPECT_EQ(one.rules, 2U);
  const auto packages =
      checkText(inBrackets(package("p", rule("1")) + "," + package("q", rule("1"))));
  EXPECT_EQ(packages.kind, DocumentKind::PackageList);
  EXPECT_EQ(packages.packages, 2U);
  EXPECT_EQ(packages.rules, 2U);
  for (const auto& report : {list, rules, one, packages}) {
    EXPECT_THAT(report.findings, IsEmpty());
    EXPECT_FALSE(report.hasErrors());
  }
}

TEST(CheckTest, RefusesWhatIsOfNoKind) {
  const std::pair<std::string, std::string_view> expected[] = {
      {"7", "has to hold an array"},
      {"\"a\"", "has to hold an array"},
      {"{}", "an object without \"rules\""},
      {std::string(blocker), "a single rule"},
      {rule("1"), "a single rule"},
      {"[7,null]", "No element of the array"},
      {inBrackets(rule("1") + "," + std::string(blocker)), "mixture"},
      {inBrackets(rule("1") + "," + package("p", "")), "mixture"},
  };
  for (const auto& [text, reason] : expected) {
    const auto report = checkText(text);
    EXPECT_EQ(report.kind, DocumentKind::Unknown) << text;
    EXPECT_TRUE(report.hasErrors()) << text;
    EXPECT_THAT(onlyFinding(text).finding.reason, HasSubstr(reason)) << text;
  }
}

TEST(CheckTest, NamesLineAndColumnOfAnErrorOfJSON) {
  const auto found = onlyFinding("[\n  {\"a\": 1,}\n]");
  EXPECT_THAT(found.finding.reason, HasSubstr("not JSON"));
  EXPECT_EQ(found.place.position, (TextPosition{2, 11}));
}

TEST(CheckTest, SaysWhatIsWrongWithTextsThatAreNotJSON) {
  for (const auto text : {"", " \n", "\xEF\xBB\xBF"}) {
    EXPECT_THAT(onlyFinding(text).finding.reason, HasSubstr("is empty"));
  }
  for (const std::string text :
       {"[", "[1 2]", "// a\n[]", "[\"\xFF\"]", "[\"\\ud800\"]", "[1e400]"}) {
    EXPECT_THAT(onlyFinding(text).finding.reason, HasSubstr("not JSON")) << text;
  }
  const std::string deep = std::string(2000, '[') + std::string(2000, ']');
  EXPECT_THAT(onlyFinding(deep).finding.reason, HasSubstr("beyond the limits"));
}

TEST(CheckTest, RefusesListsThatTheBrowserFindsEmpty) {
  EXPECT_THAT(onlyFinding("[]").finding.reason, HasSubstr("no rules"));
  const std::string dropped =
      R"({"trigger":{"url-filter":"a"},"action":{"type":"css-display-none","selector":"("}})";
  const auto report = checkText(inBrackets(dropped));
  ASSERT_THAT(report.findings, SizeIs(2));
  EXPECT_EQ(report.findings[0].finding.severity, Severity::Warning);
  EXPECT_EQ(report.findings[1].finding.severity, Severity::Error);
  EXPECT_FALSE(report.findings[1].place.rule);
  EXPECT_FALSE(checkText(inBrackets(dropped + "," + std::string(blocker))).hasErrors());
}

TEST(CheckTest, RefusesAByteOrderMarkInAListButNotInAPackage) {
  EXPECT_THAT(onlyFinding("\xEF\xBB\xBF[" + std::string(blocker) + "]").finding.reason,
              HasSubstr("byte order mark"));
  EXPECT_THAT(checkText("\xEF\xBB\xBF" + package("p", "")).findings, IsEmpty());
}

TEST(CheckTest, RefusesAListThatIsNestedTooDeeplyForTheBrowser) {
  const auto nested = [](int levels) {
    return R"([{"x":)" + std::string(static_cast<std::size_t>(levels), '[') +
           std::string(static_cast<std::size_t>(levels), ']') +
           R"(,"trigger":{"url-filter":"a"},"action":{"type":"block"}}])";
  };
  EXPECT_FALSE(checkText(nested(999)).hasErrors());
  EXPECT_TRUE(checkText(nested(1000)).hasErrors());
}

TEST(CheckTest, RefusesMoreRulesThanTheBrowserTakes) {
  std::string list = "[";
  for (int count = 0; count < 150000; ++count) list.append(blocker) += ',';
  EXPECT_FALSE(checkText(list.substr(0, list.size() - 1) + "]").hasErrors());
  const auto report = checkText(list.append(blocker) + "]");
  EXPECT_EQ(report.rules, 150001U);
  ASSERT_THAT(report.findings, SizeIs(1));
  EXPECT_THAT(report.findings[0].finding.reason, HasSubstr("150001 rules"));
}

TEST(CheckTest, TellsThatPackagesHoldMoreRulesThanOneListTakes) {
  const std::string rule =
      R"({"id":"","name":"","content":{"trigger":{"url-filter":"x"},"action":{"type":"block"}}})";
  std::string package = R"({"id":"p","name":"P","rules":[)";
  for (int count = 0; count < 75001; ++count) package.append(count == 0 ? "" : ",").append(rule);
  const auto report = checkText("[" + package + "]}," + package + "]}]");
  EXPECT_EQ(report.rules, 150002U);
  EXPECT_TRUE(report.hasErrors());
  EXPECT_THAT(report.findings.back().finding.reason, HasSubstr("150002 rules"));
}

TEST(CheckTest, NamesThePlaceOfARuleInAList) {
  const auto found =
      onlyFinding("[\n" + std::string(blocker) + ", " + std::string(badBlocker) + "]");
  EXPECT_EQ(found.place.rule, 2U);
  EXPECT_FALSE(found.place.package);
  EXPECT_EQ(found.place.position, (TextPosition{2, blocker.size() + 3}));
  EXPECT_EQ(found.finding.key, "trigger.url-filter");
}

TEST(CheckTest, NamesThePlaceOfARuleInAPackage) {
  const auto found =
      onlyFinding(inBrackets(package("p", rule("1")) + ",\n {\"id\":\"q\",\"rules\":[\n" +
                             rule("2") + ",\n   " + rule("3", badBlocker) + "]}"));
  EXPECT_EQ(found.place.package, 2U);
  EXPECT_EQ(found.place.packageID, "q");
  EXPECT_EQ(found.place.rule, 2U);
  EXPECT_EQ(found.place.ruleID, "3");
  EXPECT_EQ(found.place.ruleName, "n");
  EXPECT_EQ(found.place.position, (TextPosition{4, 4}));
}

TEST(CheckTest, CountsColumnsInCharacters) {
  const std::string hiding =
      "{\"trigger\":{\"url-filter\":\"a\"},\"action\":{\"type\":\"css-display-none\","
      "\"selector\":\".\u00e9\"}}";
  const auto found = onlyFinding(inBrackets(hiding + "," + std::string(badBlocker)));
  // The accented letter is two bytes and one character.
  EXPECT_EQ(found.place.position, (TextPosition{1, hiding.size() + 2}));
}

TEST(CheckTest, SaysWhatTheReaderDrops) {
  for (const std::string_view content :
       {"7", "{}", R"({"trigger":{},"action":{"type":"block"}})",
        R"({"trigger":{"url-filter":"a"},"action":{"type":"notify","notification":"n"}})"}) {
    const auto report = checkText(package("p", rule("1", content)));
    ASSERT_FALSE(report.findings.empty()) << content;
    EXPECT_THAT(report.findings[0].finding.reason, HasSubstr("dropped when the file is read"))
        << content;
  }
  const auto report = checkText(R"({"id":"p","rules":[7]})");
  ASSERT_FALSE(report.findings.empty());
  EXPECT_EQ(report.rules, 1U);
}

TEST(CheckTest, WarnsOfMissingWrongAndEqualIDs) {
  const std::string content = std::string(",\"content\":") + std::string(blocker) + "}";
  EXPECT_THAT(onlyFinding("[{\"name\":\"n\"" + content + "]").finding.reason, HasSubstr("new id"));
  EXPECT_THAT(onlyFinding("[{\"id\":7" + content + "]").finding.reason, HasSubstr("is a number"));
  EXPECT_THAT(onlyFinding("[{\"id\":\"1\",\"name\":7" + content + "]").finding.reason,
              HasSubstr("\"name\" of the rule is a number"));
  EXPECT_THAT(onlyFinding(R"({"rules":[]})").finding.reason, HasSubstr("\"id\" of the package"));
  const auto same = onlyFinding(package("p", rule("1") + "," + rule("2") + "," + rule("1")));
  EXPECT_EQ(same.finding.severity, Severity::Warning);
  EXPECT_EQ(same.place.rule, 3U);
  EXPECT_THAT(same.finding.reason, HasSubstr("Rule 1 has the same"));
}

TEST(CheckTest, WarnsOfRulesThatAreNoArray) {
  EXPECT_THAT(onlyFinding(R"({"id":"p","rules":7})").finding.reason, HasSubstr("without rules"));
}

TEST(CheckTest, FollowsTheLastOfEqualKeysToTheRules) {
  const auto report =
      checkText("{\"id\":\"p\",\"rules\":[],\n\"\\u0072ules\":[" + rule("1", badBlocker) + "]}");
  ASSERT_THAT(report.findings, SizeIs(2));
  EXPECT_EQ(report.findings[1].place.position, (TextPosition{2, 15}));
}

}  // namespace
}  // namespace orvane
