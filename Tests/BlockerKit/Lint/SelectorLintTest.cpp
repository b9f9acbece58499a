#include <string>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/SelectorLint.h"

namespace orvane {
namespace {

using namespace std::literals;
using testing::HasSubstr;
using testing::Optional;

TEST(SelectorLintTest, TakesWhatTheBrowserTakes) {
  for (const auto selector : {
           "a"sv,
           "*"sv,
           " a , b "sv,
           "div.ad > a:not(.x) ~ b + c"sv,
           "#a.b[c]"sv,
           "[href^=\"http://a.test/\"]"sv,
           "[a=b i]"sv,
           "[a"sv,
           "[a='b"sv,
           "[*]"sv,
           "*|a"sv,
           "|a"sv,
           "\\*|a"sv,
           "a/**/.b"sv,
           "#\\31"sv,
           "\\"sv,
           "\u00e9"sv,
           "a\0"sv,
           "&"sv,
           "a&.b"sv,
           ":HOVER"sv,
           ":h\\6fver"sv,
           ":is(:unknown, (), \"x\")"sv,
           ":where()"sv,
           ":-webkit-any(a b)"sv,
           ":not(a b, :not(c))"sv,
           ":has(> a, + b)"sv,
           ":has(:is(:has(a)))"sv,
           ":nth-child(2n + 1 of a, b)"sv,
           ":nth-of-type(ODD)"sv,
           ":nth-child(-n+3"sv,
           ":lang(en, \"fr\")"sv,
           ":dir(ltr)"sv,
           ":host(a.b) c"sv,
           "a::before"sv,
           "a:before"sv,
           "::before:is(.a)"sv,
           "::-webkit-scrollbar:horizontal"sv,
           "::-webkit-anything:hover"sv,
           "::part(a b)::before"sv,
           "::slotted(a):before"sv,
           "::cue(a, b)"sv,
           ":is(url(\")))"sv,
       }) {
    EXPECT_EQ(lintSelector(selector), std::nullopt) << selector;
  }
}

TEST(SelectorLintTest, NamesThePlaceAndTheReason) {
  const std::pair<std::string_view, std::string_view> expected[] = {
      {"", "it is empty"},
      {"a,", "it ends where something has to follow"},
      {"a >", "it ends where something has to follow"},
      {"a,,b", "\",\" at position 3 is not the beginning of a selector"},
      {"> a", "\">\" at position 1 is not the beginning of a selector"},
      {"1a", "is not the beginning of a selector"},
      {"a{}", "\"{\" at position 2 is not expected here"},
      {"a/**/b", "at position 6 is not expected here"},
      {"a||b", "at position 2 is not expected here"},
      {"a|b", "is a namespace that is not declared"},
      {"#1", "\"#1\" at position 1 is not an id"},
      {"a. b", "is not a class name"},
      {"[a=1]", "\"1\" at position 4 is not a value"},
      {"[a=b s]", "\"s\" at position 6 is not expected here"},
      {"[a!=b]", "\"!\" at position 3 is not a comparison"},
      {"[1]", "is not the name of an attribute"},
      {":-abp-has(a)", "is not a pseudo-class that the browser knows"},
      {":unknown", "is not a pseudo-class that the browser knows"},
      {":not", "is a pseudo-class that needs something in parentheses"},
      {":hover()", "is not a pseudo-class that the browser knows"},
      {"a:", "it ends where something has to follow"},
      {"::unknown", "is not a pseudo-element that the browser knows"},
      {"::before()", "is not a pseudo-element that the browser knows"},
      {":not()", "is not the beginning of a selector"},
      {":not(::before)", "is a pseudo-element, which is not allowed in here"},
      {":has(:has(a))", "may not stand inside of another :has()"},
      {"::before b", "may not follow a pseudo-element"},
      {"::before.b", "may not follow a pseudo-element"},
      {"::before:hover", "may not follow this pseudo-element"},
      {"::before::after", "may not follow another pseudo-element"},
      {"::cue:not(.a)", "may not follow a pseudo-element"},
      {"::slotted(a b)", "is not expected here"},
      {":nth-child(2n+)", "is not an expression like"},
      {":nth-of-type(1 of a)", "is not expected here"},
      {":nth-child(1 a)", "only \"of\" may follow"},
      {":lang(--a)", "is not a language"},
      {":dir(1)", "is not a name"},
  };
  for (const auto& [selector, reason] : expected) {
    EXPECT_THAT(lintSelector(selector), Optional(HasSubstr(reason))) << selector;
  }
}

TEST(SelectorLintTest, RefusesWhatIsNestedTooDeeplyInsteadOfCrashing) {
  std::string selector;
  for (int level = 0; level < 100000; ++level) selector += ":not(";
  EXPECT_THAT(lintSelector(selector), Optional(HasSubstr("nested too deeply")));
}

}  // namespace
}  // namespace orvane
