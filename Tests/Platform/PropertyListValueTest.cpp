#include <gtest/gtest.h>

#include "Platform/Foundation/PropertyListValue.h"

namespace orvane::test {
namespace {

using Strings = std::vector<std::string>;

TEST(PropertyListValue, hasTheTypeThatItWasMadeWith) {
  EXPECT_EQ(*PropertyListValue(true).as<bool>(), true);
  EXPECT_EQ(*PropertyListValue(std::int64_t{1}).as<std::int64_t>(), 1);
  EXPECT_EQ(*PropertyListValue("text").as<std::string>(), "text");
  EXPECT_EQ(PropertyListValue(std::int64_t{1}).as<bool>(), nullptr);
  EXPECT_EQ(PropertyListValue("true").as<bool>(), nullptr);
}

TEST(PropertyListValue, valuesOfDifferentTypesDiffer) {
  EXPECT_NE(PropertyListValue(true), PropertyListValue(std::int64_t{1}));
  EXPECT_NE(PropertyListValue(PropertyListValue::Array()),
            PropertyListValue(PropertyListValue::Dictionary()));
}

TEST(PropertyListValue, stringsComeBackFromAnArray) {
  for (const auto& strings : {Strings{}, Strings{"one"}, Strings{"two", "", "two"}}) {
    EXPECT_EQ(stringsOf(toPropertyList(strings)), strings);
  }
}

TEST(PropertyListValue, whatHoldsMoreThanStringsHasNoStrings) {
  using Array = PropertyListValue::Array;
  EXPECT_EQ(stringsOf(Array{"one", true}), std::nullopt);
  EXPECT_EQ(stringsOf(Array{Array{"one"}}), std::nullopt);
  EXPECT_EQ(stringsOf("one"), std::nullopt);
}

}  // namespace
}  // namespace orvane::test
