#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "BlockerKit/Lint/Check.h"
#include "BlockerKit/Lint/SelectorLint.h"
#include "BlockerKit/Lint/URLFilterLint.h"

namespace orvane {
namespace {

constexpr std::string_view packages = R"([{"id":"p","name":"n","rules":[
  {"id":"1","name":"é","content":{"trigger":{"url-filter":"^https?://(a|b)[c-d]\\.test\\u0041",
   "resource-type":["image"],"load-type":["third-party"],"if-domain":["*a.test"]},
   "action":{"type":"css-display-none","selector":"a:not(.b, [c='d']) > e::before"}}},
  {"id":"2","content":{"trigger":{"url-filter":"a"},
   "action":{"type":"redirect","redirect":{"url":"http://a:80/"}}}}]}])";

TEST(CheckRobustnessTest, FindsAnErrorInATextThatIsCutAnywhere) {
  for (std::size_t size = 0; size < packages.size(); ++size) {
    EXPECT_TRUE(checkText(std::string(packages.substr(0, size))).hasErrors()) << size;
  }
}

TEST(CheckRobustnessTest, SurvivesEveryReplacedByte) {
  for (std::size_t place = 0; place < packages.size(); ++place) {
    for (const char byte :
         {'\0', '\xFF', '"', '\\', '{', '}', '[', ']', '(', ')', ':', '1', '\n'}) {
      std::string text(packages);
      text[place] = byte;
      const auto report = checkText(text);
      for (const auto& found : report.findings) EXPECT_FALSE(found.finding.reason.empty());
    }
  }
}

TEST(CheckRobustnessTest, SurvivesValuesOfEveryKindInEveryPlace) {
  for (const std::string value : {"null", "true", "-1e308", "123456789012345678", "\"\"",
                                  "\"\\u0000\"", "[]", "{}", "[[[]]]", R"([{"a":[null]}])"}) {
    for (const std::string before :
         {"", "[", "[{\"trigger\":", "[{\"trigger\":{\"url-filter\":", "[{\"action\":{\"type\":",
          "[{\"content\":", "[{\"rules\":", "{\"rules\":", "{\"rules\":[",
          "{\"rules\":[{\"id\":", "{\"rules\":[{\"content\":{\"trigger\":",
          "[{\"action\":{\"type\":\"redirect\",\"redirect\":{\"transform\":",
          "[{\"action\":{\"type\":\"modify-headers\",\"request-headers\":"}) {
      std::string text = before + value;
      for (auto place = before.rbegin(); place != before.rend(); ++place) {
        if (*place == '[') text += ']';
        if (*place == '{') text += '}';
      }
      EXPECT_FALSE(checkText(text).findings.empty()) << text;
    }
  }
}

TEST(CheckRobustnessTest, SurvivesDeepNesting) {
  for (const std::size_t depth : {std::size_t{1000}, std::size_t{100000}}) {
    for (const std::string_view open : {"[", "{\"a\":", "[{\"trigger\":", "{\"rules\":["}) {
      std::string text;
      for (std::size_t level = 0; level < depth; ++level) text += open;
      EXPECT_TRUE(checkText(text).hasErrors()) << open;
    }
  }
  const std::string groups(100000, '(');
  EXPECT_TRUE(lintURLFilter(groups));
  EXPECT_FALSE(lintURLFilter(groups + std::string(100000, ')')));
}

TEST(CheckRobustnessTest, SurvivesRandomBytes) {
  std::mt19937_64 engine(1);
  for (int run = 0; run < 20000; ++run) {
    std::string text(static_cast<std::size_t>(engine() % 40), '\0');
    for (char& character : text) character = static_cast<char>(engine() % 256);
    for (const auto& reason : {lintURLFilter(text), lintSelector(text)}) {
      EXPECT_TRUE(!reason || !reason->empty());
    }
  }
}

}  // namespace
}  // namespace orvane
