#include <cstdint>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace orvane
