#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Browser/BlockingStatus.h"

namespace orvane::test {
namespace {

using ::testing::HasSubstr;
using Kind = BlockingStatus::Kind;

BlockingFacts allIsWell() {
  return {.isEnabled = true,
          .isPaused = false,
          .isListInForce = true,
          .isListDamaged = false,
          .companionError = "",
          .rules = 12'345,
          .compiled = "today"};
}

TEST(BlockingStatus, isOnWithARulesCountAndADate) {
  const auto status = blockingStatus(allIsWell());
  EXPECT_EQ(status.kind, Kind::working);
  EXPECT_EQ(status.title, "Blocking Is On");
  EXPECT_EQ(status.rules, "12,345");
  EXPECT_EQ(status.compiled, "today");
}

TEST(BlockingStatus, groupsTheDigitsOfTheCount) {
  auto facts = allIsWell();
  for (const auto& [count, text] : {std::pair<std::int64_t, const char*>{1, "1"},
                                    {999, "999"},
                                    {1'000, "1,000"},
                                    {1'000'007, "1,000,007"}}) {
    facts.rules = count;
    EXPECT_EQ(blockingStatus(facts).rules, text);
  }
}

TEST(BlockingStatus, saysThatTheSettingsCannotBeReadWhateverElseIsTrue) {
  auto facts = allIsWell();
  facts.isEnabled = tl::unexpected(NSError{"", 0, "Key file contains line “x”"});
  facts.isPaused = true;
  const auto status = blockingStatus(facts);
  EXPECT_EQ(status.kind, Kind::failing);
  EXPECT_THAT(status.explanation, HasSubstr("Key file contains line “x”"));
}

TEST(BlockingStatus, saysThatTheUserHasSwitchedItOff) {
  auto facts = allIsWell();
  facts.isEnabled = false;
  facts.isListInForce = false;
  facts.companionError = "The content blocker is switched off in the browser's settings.";
  const auto status = blockingStatus(facts);
  EXPECT_EQ(status.kind, Kind::off);
  EXPECT_EQ(status.title, "Blocking Is Off");
  EXPECT_EQ(status.rules, "");
  EXPECT_EQ(status.compiled, "");
}

TEST(BlockingStatus, saysThatItIsPausedAndNamesNoCount) {
  auto facts = allIsWell();
  facts.isPaused = true;
  const auto status = blockingStatus(facts);
  EXPECT_EQ(status.kind, Kind::off);
  EXPECT_EQ(status.title, "Blocking Is Paused");
  EXPECT_EQ(status.rules, "");
}

TEST(BlockingStatus, saysThatThereIsNoListYet) {
  const auto status = blockingStatus({});
  EXPECT_EQ(status.kind, Kind::waiting);
  EXPECT_EQ(status.title, "There Is No List Yet");
}

TEST(BlockingStatus, saysWhetherADamagedListLeavesAnotherInForce) {
  auto facts = allIsWell();
  facts.isListDamaged = true;
  EXPECT_EQ(blockingStatus(facts).kind, Kind::waiting);
  EXPECT_EQ(blockingStatus(facts).title, "The List Is Being Repaired");
  EXPECT_THAT(blockingStatus(facts).explanation, HasSubstr("The list before it stays in force."));
  facts.isListInForce = false;
  EXPECT_THAT(blockingStatus(facts).explanation, HasSubstr("Nothing is blocked."));
}

TEST(BlockingStatus, repeatsWhatTheCompanionSaysAndDoesNotTrustItsCount) {
  auto facts = allIsWell();
  facts.companionError = "The disk is full.";
  const auto status = blockingStatus(facts);
  EXPECT_EQ(status.kind, Kind::failing);
  EXPECT_EQ(status.explanation, "The disk is full. The list before it stays in force.");
  EXPECT_EQ(status.rules, "");
  EXPECT_EQ(status.compiled, "today");
}

}  // namespace
}  // namespace orvane::test
