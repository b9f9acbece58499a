#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Apps/Companion/DomainInput.h"

namespace orvane::test {
namespace {

struct Input {
  std::string given;
  std::string domain;
};

void PrintTo(const Input& input, std::ostream* stream) { *stream << '"' << input.given << '"'; }

class DomainInput : public ::testing::TestWithParam<Input> {};

TEST_P(DomainInput, becomesTheDomainThatIsMeant) {
  EXPECT_EQ(domainFromInput(GetParam().given), GetParam().domain);
}

INSTANTIATE_TEST_SUITE_P(Plain, DomainInput,
                         ::testing::Values(Input{"example.com", "example.com"},
                                           Input{" \t example.com\r\n", "example.com"},
                                           Input{"Example.COM", "example.com"},
                                           Input{"example.com.", "example.com"},
                                           Input{"localhost", "localhost"},
                                           Input{"localhost.", "localhost"},
                                           Input{"a_b.example.com", "a_b.example.com"},
                                           Input{"192.168.0.1", "192.168.0.1"}));

INSTANTIATE_TEST_SUITE_P(
    URL, DomainInput,
    ::testing::Values(Input{"https://User@Example.COM:8080/x", "example.com"},
                      Input{"http://example.com", "example.com"},
                      Input{"https://a@b:c@example.com/", "example.com"},
                      Input{"https://example.com?q=a@b.org", "example.com"},
                      Input{"https://example.com#x", "example.com"},
                      Input{"https://example.com./", "example.com"},
                      Input{"wss://[::1]:80/", "[::1]"}, Input{"example.com/news", "example.com"},
                      Input{"example.com:8080", "example.com"},
                      Input{"example.com/?to=https://other.org/", "example.com"},
                      Input{"file:///etc/passwd", ""}));

INSTANTIATE_TEST_SUITE_P(Asterisk, DomainInput,
                         ::testing::Values(Input{"*Example.com", "*example.com"},
                                           Input{"*bücher.de", "*xn--bcher-kva.de"},
                                           Input{"*example.com.", "*example.com"},
                                           Input{"*.Example.com", "*.example.com"},
                                           Input{"*", "*"}));

INSTANTIATE_TEST_SUITE_P(
    International, DomainInput,
    ::testing::Values(Input{"bücher.de", "xn--bcher-kva.de"},
                      Input{"BÜCHER.de", "xn--bcher-kva.de"},
                      Input{"bu\u0308cher.de", "xn--bcher-kva.de"},
                      // Browsers keep this letter, where an older mapping made "ss" of it.
                      Input{"straße.de", "xn--strae-oqa.de"}, Input{"例え。jp", "xn--r8jz45g.jp"},
                      Input{"例え.jp。", "xn--r8jz45g.jp"},
                      Input{"xn--bcher-kva.de", "xn--bcher-kva.de"},
                      Input{"https://bücher.de/straße", "xn--bcher-kva.de"}));

INSTANTIATE_TEST_SUITE_P(LeftForTheValidation, DomainInput,
                         ::testing::Values(Input{"", ""}, Input{"  ", ""},
                                           Input{"example.com..", "example.com."},
                                           Input{"me@example.com", "me@example.com"},
                                           Input{"-example.com", "-example.com"},
                                           Input{"exa mple.com", "exa mple.com"},
                                           Input{"a,b.com", "a,b.com"}));

TEST(DomainInputError, saysWhatIsNoDomainName) {
  for (const std::string text : {"b\xFC"
                                 "cher.de",
                                 "\xC3\xBC-.de", "\u2026.com"}) {
    const auto domain = domainFromInput(text);
    ASSERT_FALSE(domain) << *domain;
    EXPECT_THAT(domain.error(), ::testing::StartsWith("'" + text + "' is no domain name: "));
  }
}

}  // namespace
}  // namespace orvane::test
