#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BlockerKit/Lint/DomainLint.h"

namespace orvane {
namespace {

using namespace std::literals;
using testing::HasSubstr;

TEST(DomainLintTest, HasNothingAgainstHostsWithAndWithoutTheirSubdomains) {
  for (const auto domain : {"site.test", "*site.test", "xn--bcher-kva.test", "a_b-c.1.test"}) {
    EXPECT_FALSE(lintDomain(domain, Severity::Error)) << domain;
  }
}

TEST(DomainLintTest, RefusesCapitalsAndWhatIsNotASCII) {
  for (const auto domain : {"Site.test", "*A", "b\u00fccher.test"}) {
    const auto problem = lintDomain(domain, Severity::Warning);
    ASSERT_TRUE(problem) << domain;
    EXPECT_EQ(problem->severity, Severity::Error) << domain;
  }
}

TEST(DomainLintTest, GivesTheSeverityOfAnExpressionToWhatMakesABadOne) {
  for (const auto domain : {"a|b"sv, "a(b"sv, "^a"sv, "*+a"sv, "[z-a]"sv, "a\0b"sv}) {
    for (const auto severity : {Severity::Warning, Severity::Error}) {
      const auto problem = lintDomain(domain, severity);
      ASSERT_TRUE(problem) << domain;
      EXPECT_EQ(problem->severity, severity) << domain;
      EXPECT_THAT(problem->reason, HasSubstr("that the browser refuses")) << domain;
    }
  }
}

TEST(DomainLintTest, WarnsOfDomainsThatMatchNoSite) {
  for (const auto domain : {"*", "*.site.test", ".site.test", "https://site.test", "site.test/a",
                            "site.test:80", "a*.test", "a b", "+a"}) {
    const auto problem = lintDomain(domain, Severity::Error);
    ASSERT_TRUE(problem) << domain;
    EXPECT_EQ(problem->severity, Severity::Warning) << domain;
    EXPECT_THAT(problem->reason, HasSubstr("matches no site")) << domain;
  }
  EXPECT_THAT(lintDomain("*.site.test", Severity::Error)->reason, HasSubstr("\"*site.test\""));
}

}  // namespace
}  // namespace orvane
