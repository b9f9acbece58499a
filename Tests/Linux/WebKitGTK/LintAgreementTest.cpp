#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/Check.h"
#include "BlockerKit/Lint/ContentBlockerLint.h"
#include "Tests/Linux/WebKitGTK/BlockerGenerator.h"
#include "Tests/Linux/WebKitGTK/BrowserProcess.h"
#include "Tests/Support/TemporaryDirectory.h"

namespace orvane {
namespace {

enum class Verdict { Accepted, Dropped, Refused };

std::string nameOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Accepted:
      return "accepted";
    case Verdict::Dropped:
      return "dropped";
    case Verdict::Refused:
      break;
  }
  return "refused";
}

Verdict verdictOf(const BlockerLint& lint) {
  if (lint.isRefused()) return Verdict::Refused;
  return lint.isDropped ? Verdict::Dropped : Verdict::Accepted;
}

/// Of a list of one rule.
Verdict verdictOf(const std::string& answer) {
  if (answer.empty()) return Verdict::Accepted;
  return answer == "Empty extension." ? Verdict::Dropped : Verdict::Refused;
}

std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

std::string reasons(const BlockerLint& lint) {
  std::string text;
  for (const auto& finding : lint.findings) text += "\n  " + finding.key + ": " + finding.reason;
  return text;
}

// LINT_AGREEMENT_SEED and LINT_AGREEMENT_RULES make it run on other rules or more of them.
TEST(LintAgreementTest, LintAndBrowserJudgeGeneratedRulesAlike) {
  const auto seed = numberFromEnvironment("LINT_AGREEMENT_SEED", 1);
  const auto count = numberFromEnvironment("LINT_AGREEMENT_RULES", 8000);
  const test::TemporaryDirectory store;
  BrowserProcess browser(store.path());
  Dice dice(seed);
  std::size_t verdicts[3] = {};
  for (std::uint64_t index = 0; index < count; ++index) {
    const auto rule = randomBlocker(dice);
    const auto document = JSONDocument::parse(rule);
    ASSERT_TRUE(document) << rule;
    const auto lint = lintContentBlocker(document->root());
    const auto answer = browser.compile("[" + rule + "]");
    const auto verdict = verdictOf(answer);
    ++verdicts[static_cast<std::size_t>(verdict)];
    EXPECT_EQ(nameOf(verdictOf(lint)), nameOf(verdict))
        << rule << "\nbrowser: " << answer << "\nlint:" << reasons(lint);
  }
  // A generator that only makes rules of one kind would prove nothing.
  for (const auto number : verdicts) EXPECT_GT(number, count / 20);
}

constexpr std::string_view goodRule = R"({"trigger":{"url-filter":"a"},"action":{"type":"block"}})";
constexpr std::string_view droppedRule =
    R"({"trigger":{"url-filter":"a"},"action":{"type":"css-display-none","selector":"("}})";

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) result += text;
  return result;
}

/// A list of `rules`, each with a comma behind it, and of a good rule.
std::string listOf(std::string_view rules) { return fmt::format("[{}{}]", rules, goodRule); }

std::string nested(std::string_view open, std::string_view close, std::size_t levels) {
  return fmt::format(
      R"([{{"x":{}1{},"trigger":{{"url-filter":"a"}},"action":{{"type":"block"}}}}])",
      repeated(open, levels), repeated(close, levels));
}

TEST(LintAgreementTest, LintAndBrowserJudgeListsAlike) {
  const test::TemporaryDirectory store;
  BrowserProcess browser(store.path());
  const std::string goodRules = repeated(std::string(goodRule) + ",", 149999);
  for (const auto& list : {
           std::string(),
           std::string(" \n"),
           std::string("[]"),
           std::string("{}"),
           std::string("7"),
           std::string("null"),
           std::string("[7]"),
           listOf(""),
           listOf(std::string(droppedRule) + ","),
           fmt::format("[{}]", droppedRule),
           fmt::format("[{},{}]", droppedRule, droppedRule),
           "\xEF\xBB\xBF" + listOf(""),
           listOf("") + ",",
           listOf(","),
           listOf("// why\n"),
           nested("[", "]", 997),
           nested("[", "]", 998),
           nested("[", "]", 999),
           nested("{\"a\":", "}", 997),
           nested("{\"a\":", "}", 998),
           listOf(goodRules),
           listOf(goodRules + std::string(goodRule) + ","),
       }) {
    const auto answer = browser.compile(list);
    EXPECT_EQ(checkText(list).hasErrors(), !answer.empty())
        << list.substr(0, 100) << "\nbrowser: " << answer;
  }
}

}  // namespace
}  // namespace orvane
