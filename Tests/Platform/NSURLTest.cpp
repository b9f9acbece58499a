#include <gtest/gtest.h>

#include "Platform/Foundation/NSURL.h"

namespace orvane::test {
namespace {

std::optional<std::string> hostOf(std::string_view text) {
  const auto url = NSURL::fromString(text);
  return url ? url->host() : "no URL";
}

TEST(URL, KeepsItsText) {
  const auto url = NSURL::fromString("https://user:pw@Example.com:8080/a%20b?c|d#e");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->absoluteString(), "https://user:pw@Example.com:8080/a%20b?c|d#e");
}

TEST(URL, HasTheHostWithoutWhatStandsAroundIt) {
  EXPECT_EQ(hostOf("https://example.com/"), "example.com");
  EXPECT_EQ(hostOf("https://example.com"), "example.com");
  EXPECT_EQ(hostOf("https://example.com?q"), "example.com");
  EXPECT_EQ(hostOf("https://example.com#f"), "example.com");
  EXPECT_EQ(hostOf("http://example.com:8080/"), "example.com");
  EXPECT_EQ(hostOf("http://user@example.com/"), "example.com");
  EXPECT_EQ(hostOf("http://user:a@b@example.com:1/x@y:z"), "example.com");
  EXPECT_EQ(hostOf("http://127.0.0.1:1/"), "127.0.0.1");
  EXPECT_EQ(hostOf("http://[2001:db8::1]:8080/"), "2001:db8::1");
  EXPECT_EQ(hostOf("https://xn--bcher-kva.example/"), "xn--bcher-kva.example");
}

TEST(URL, WithoutAnAuthorityHasNoHost) {
  EXPECT_EQ(hostOf("about:blank"), std::nullopt);
  EXPECT_EQ(hostOf("mailto:a@b.example"), std::nullopt);
  EXPECT_EQ(hostOf("data:text/html,//a"), std::nullopt);
}

TEST(URL, WithAnEmptyHostHasNone) {
  EXPECT_EQ(hostOf("file:///etc/hosts"), std::nullopt);
  EXPECT_EQ(hostOf("http://:80/"), std::nullopt);
}

TEST(URL, NeedsASchemeAndCharactersThatMayStandInIt) {
  for (const char* text : {"", "example.com", "//example.com/", "1http://a/", ":a", "ht tp://a/",
                           "http://bücher.example/", "http://a/\n"}) {
    EXPECT_EQ(NSURL::fromString(text), std::nullopt) << text;
  }
}

TEST(URLQuery, KeepsWhatMayStandInIt) {
  const std::string allowed = "azAZ09-._~!$&'()*+,;=:@/?";
  EXPECT_EQ(addingPercentEncodingForURLQuery(allowed), allowed);
}

TEST(URLQuery, EncodesEverythingElseByteByByte) {
  EXPECT_EQ(addingPercentEncodingForURLQuery("a b%#[]\n\"ü💜"),
            "a%20b%25%23%5B%5D%0A%22%C3%BC%F0%9F%92%9C");
}

TEST(URLQuery, IsNothingForWhatIsNoText) {
  EXPECT_EQ(addingPercentEncodingForURLQuery("\xff"), std::nullopt);
}

}  // namespace
}  // namespace orvane::test
