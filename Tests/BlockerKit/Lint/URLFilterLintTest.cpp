#include <string_view>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/URLFilterLint.h"

namespace orvane {
namespace {

using namespace std::literals;
using testing::HasSubstr;
using testing::Optional;

TEST(URLFilterLintTest, TakesWhatTheBrowserTakes) {
  for (const auto filter : {
           "a"sv,
           ".*"sv,
           "^https?://([^/]+\\.)?ads\\.test[/:]"sv,
           "^$"sv,
           "^^a"sv,
           "$"sv,
           "a{0,1}"sv,
           "a{0,}"sv,
           "a{1,}"sv,
           "a*?"sv,
           "a{"sv,
           "a{,1}"sv,
           "{"sv,
           "]"sv,
           "}"sv,
           "()"sv,
           "(?:)"sv,
           "(a)*"sv,
           "(?<name>a)"sv,
           "(a)\\1"sv,
           "\\1"sv,
           "\\8"sv,
           "\\k<a>"sv,
           "\\p{L}"sv,
           "\\x41"sv,
           "\\x4"sv,
           "\\u0041"sv,
           "\\cA"sv,
           "\\c"sv,
           "\\/"sv,
           "[]"sv,
           "[^]"sv,
           "[]a]"sv,
           "[a-]"sv,
           "[\\b]"sv,
           "[\\c1-a]"sv,
           "[a\\-z]"sv,
           "(((a+)+)+)+"sv,
           "a()$"sv,
           "a\0"sv,
           "[\\x00-\\x7f]"sv,
           "\\400"sv,
           "a{0,4294967295}"sv,
       }) {
    EXPECT_EQ(lintURLFilter(filter), std::nullopt) << filter;
  }
}

TEST(URLFilterLintTest, NamesThePlaceAndTheReason) {
  const std::pair<std::string_view, std::string_view> expected[] = {
      {"a{0,1}|b", "\"|\" at position 7: alternatives"},
      {"a{2}", "\"{2}\" at position 2: counted repetitions"},
      {"a{2,1}", "\"{2,1}\" at position 2: the counts are in the wrong order"},
      {"**", "\"*\" at position 1: there is nothing to repeat"},
      {"a**", "\"*\" at position 3: there is nothing to repeat"},
      {"^*", "\"*\" at position 2: there is nothing to repeat"},
      {"\\d", "\"\\d\" at position 1: this character class"},
      {"[\\w]", "\"\\w\" at position 2: this character class"},
      {"a\\b", "\"\\b\" at position 2: word boundaries"},
      {"(?=a)", "\"(?=\" at position 1: look-ahead"},
      {"(?<!a)", "\"(?<!\" at position 1: look-behind"},
      {"(?i:a)", "\"(?\" at position 1: this kind of group"},
      {"(?<1>a)", "the name of the group is not valid"},
      {"(?<>a)", "the name of the group is empty"},
      {"(?<a>b)(?<a>c)", "another group has the same name"},
      {"(?<a>b)\\k<a>", "\"\\k\" at position 8: named references"},
      {"\\k<a\\q", "\"\\k\" at position 1: the name behind it"},
      {"a^", "\"^\" at position 2: the start of the URL"},
      {"(^a)", "\"^\" at position 2: the start of the URL"},
      {"a$b", "\"$\" at position 2: the end of the URL"},
      {"(a$)", "\"$\" at position 3: the end of the URL"},
      {"\\0a", "\"\\0\" at position 1: the browser takes the character 0"},
      {"[^\\0]a", "\"[^\\0]\" at position 1: the browser takes the character 0"},
      {"(a", "\"(\" at position 1: the group is never closed"},
      {"a)", "\")\" at position 2: there is no group to close"},
      {"[a", "\"[\" at position 1: the character class is never closed"},
      {"[z-a]", "\"a\" at position 4: the range runs backwards"},
      {"[a-\\xff]", "\"\\xff\" at position 4: a range that reaches beyond"},
      {"\\xe9", "\"\\xe9\" at position 1: only ASCII"},
      {"a\\", "\"\\\" at position 2: there is nothing behind the backslash"},
      {"caf\u00e9", "the character at position 4 is not ASCII"},
      {"", "it is empty"},
  };
  for (const auto& [filter, reason] : expected) {
    EXPECT_THAT(lintURLFilter(filter), Optional(HasSubstr(reason))) << filter;
  }
}

TEST(URLFilterLintTest, KeepsItsReasonOnOneLineOfText) {
  EXPECT_THAT(lintURLFilter("\\\n\\\n|"), Optional(HasSubstr("\"|\" at position 5")));
  EXPECT_THAT(lintURLFilter("\0a"sv), Optional(HasSubstr("\"\\x00\" at position 1")));
}

}  // namespace
}  // namespace orvane
