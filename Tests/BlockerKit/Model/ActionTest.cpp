#include <array>

#include <gtest/gtest.h>

#include "BlockerKit/Model/Action.h"

namespace orvane {
namespace {

constexpr std::array typesWithoutSelector{ActionType::Block, ActionType::BlockCookies,
                                          ActionType::IgnorePreviousRules, ActionType::makeHttps};

TEST(ActionTest, HideWithoutSelectorIsNoAction) {
  EXPECT_FALSE(Action::make(ActionType::Hide));
  EXPECT_FALSE(Action::make(ActionType::Hide, std::nullopt));
}

TEST(ActionTest, HideKeepsItsSelector) {
  const auto action = Action::make(ActionType::Hide, "div.ad");
  ASSERT_TRUE(action);
  EXPECT_EQ(action->type(), ActionType::Hide);
  EXPECT_EQ(action->selector(), "div.ad");
}

TEST(ActionTest, HideTakesAnEmptySelector) {
  const auto action = Action::make(ActionType::Hide, "");
  ASSERT_TRUE(action);
  EXPECT_EQ(action->selector(), "");
}

TEST(ActionTest, EveryOtherTypeDropsTheSelector) {
  for (const auto type : typesWithoutSelector) {
    const auto action = Action::make(type, "div.ad");
    ASSERT_TRUE(action) << rawValue(type);
    EXPECT_EQ(action->type(), type);
    EXPECT_EQ(action->selector(), std::nullopt) << rawValue(type);
  }
}

TEST(ActionTest, EveryOtherTypeNeedsNoSelector) {
  for (const auto type : typesWithoutSelector) {
    const auto action = Action::make(type);
    ASSERT_TRUE(action) << rawValue(type);
    EXPECT_EQ(action->selector(), std::nullopt);
  }
}

TEST(ActionTest, AnActionOfADocumentKeepsWhateverItCarried) {
  EXPECT_EQ(Action::asRead(ActionType::Block, "div.ad").selector(), "div.ad");
  EXPECT_EQ(Action::asRead(ActionType::Hide, std::nullopt).selector(), std::nullopt);
  EXPECT_EQ(Action::asRead(ActionType::Hide, std::nullopt).type(), ActionType::Hide);
}

}  // namespace
}  // namespace orvane
