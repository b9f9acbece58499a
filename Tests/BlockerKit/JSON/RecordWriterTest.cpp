#include <array>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "BlockerKit/JSON/RecordWriter.h"

namespace orvane {
namespace {

Blocker fullBlocker() {
  return {{.urlFilter = "^https?://ads\\.",
           .caseSensitive = true,
           .resourceTypes = std::vector{ResourceType::SVG, ResourceType::Image},
           .loadType = std::vector{LoadType::ThirdParty, LoadType::FirstParty},
           .domainFilter = DomainFilter{DomainFilterType::UnlessDomain, {"b.test", "a.test"}}},
          *Action::make(ActionType::Hide, "div[title=\"ad\"]")};
}

constexpr const char* fullBlockerJSON =
    R"({"trigger":{"url-filter":"^https?://ads\\.","url-filter-is-case-sensitive":true,)"
    R"("resource-type":["svg-document","image"],"load-type":["third-party","first-party"],)"
    R"("unless-domain":["b.test","a.test"]},)"
    R"("action":{"type":"css-display-none","selector":"div[title=\"ad\"]"}})";

TEST(RecordWriterTest, ABlockerIsCompactWithTheTriggerFirst) {
  EXPECT_EQ(toJSON(fullBlocker()), fullBlockerJSON);
}

TEST(RecordWriterTest, ARuleIsCompactWithItsBlockerUnderContent) {
  EXPECT_EQ(toJSON(Rule{"1", "one", fullBlocker()}),
            std::string(R"({"id":"1","name":"one","content":)") + fullBlockerJSON + "}");
}

TEST(RecordWriterTest, APackageIsCompactWithItsRulesInOrder) {
  const Package package{"p", "P", {{"2", "", fullBlocker()}, {"1", "one", fullBlocker()}}};
  EXPECT_EQ(toJSON(package), std::string(R"({"id":"p","name":"P","rules":[)") +
                                 R"({"id":"2","name":"","content":)" + fullBlockerJSON +
                                 R"(},{"id":"1","name":"one","content":)" + fullBlockerJSON +
                                 "}]}");
}

TEST(RecordWriterTest, ATriggerAndAnActionStandAlone) {
  EXPECT_EQ(toJSON(Trigger{.urlFilter = "ads"}), R"({"url-filter":"ads"})");
  EXPECT_EQ(toJSON(*Action::make(ActionType::Block)), R"({"type":"block"})");
}

TEST(RecordWriterTest, ListsAreArraysOfTheirRecords) {
  const std::vector blockers{fullBlocker(), fullBlocker()};
  EXPECT_EQ(toJSON(std::span<const Blocker>(blockers)),
            std::string("[") + fullBlockerJSON + "," + fullBlockerJSON + "]");
  const std::vector<Package> packages{{"p", "P", {}}, {"q", "Q", {}}};
  EXPECT_EQ(toJSON(std::span<const Package>(packages)),
            R"([{"id":"p","name":"P","rules":[]},{"id":"q","name":"Q","rules":[]}])");
  const std::vector<Rule> rules{{"1", "one", fullBlocker()}};
  EXPECT_EQ(toJSON(std::span<const Rule>(rules)),
            std::string(R"([{"id":"1","name":"one","content":)") + fullBlockerJSON + "}]");
}

TEST(RecordWriterTest, EmptyListsAreEmptyArrays) {
  EXPECT_EQ(toJSON(std::span<const Blocker>()), "[]");
  EXPECT_EQ(toJSON(std::span<const Rule>()), "[]");
  EXPECT_EQ(toJSON(std::span<const Package>()), "[]");
}

TEST(RecordWriterTest, CaseSensitivityIsWrittenOnlyWhenItIsTrue) {
  EXPECT_EQ(toJSON(Trigger{.urlFilter = "ads", .caseSensitive = false}), R"({"url-filter":"ads"})");
  EXPECT_EQ(toJSON(Trigger{.urlFilter = "ads", .caseSensitive = true}),
            R"({"url-filter":"ads","url-filter-is-case-sensitive":true})");
}

TEST(RecordWriterTest, PresentEmptyListsAreWrittenAsEmptyArrays) {
  EXPECT_EQ(toJSON(Trigger{.urlFilter = "",
                           .resourceTypes = std::vector<ResourceType>(),
                           .loadType = std::vector<LoadType>(),
                           .domainFilter = DomainFilter{DomainFilterType::IfDomain, {}}}),
            R"({"url-filter":"","resource-type":[],"load-type":[],"if-domain":[]})");
}

TEST(RecordWriterTest, TheDomainFilterIsWrittenUnderTheKeyOfItsTypeAlone) {
  EXPECT_EQ(
      toJSON(Trigger{.urlFilter = "ads",
                     .domainFilter = DomainFilter{DomainFilterType::IfDomain, {"b.a", "a.b"}}}),
      R"({"url-filter":"ads","if-domain":["b.a","a.b"]})");
  EXPECT_EQ(
      toJSON(Trigger{.urlFilter = "ads",
                     .domainFilter = DomainFilter{DomainFilterType::UnlessDomain, {"b.a", "a.b"}}}),
      R"({"url-filter":"ads","unless-domain":["b.a","a.b"]})");
}

TEST(RecordWriterTest, TheTypeOfAnActionIsExactlyTheSearchedText) {
  EXPECT_EQ(toJSON(*Action::make(ActionType::makeHttps)), R"({"type":"make-https"})");
  EXPECT_EQ(toJSON(*Action::make(ActionType::IgnorePreviousRules)),
            R"({"type":"ignore-previous-rules"})");
  EXPECT_EQ(toJSON(*Action::make(ActionType::BlockCookies)), R"({"type":"block-cookies"})");
}

TEST(RecordWriterTest, ASelectorIsWrittenWheneverThereIsOne) {
  EXPECT_EQ(toJSON(Action::asRead(ActionType::Block, "div.ad")),
            R"({"type":"block","selector":"div.ad"})");
  EXPECT_EQ(toJSON(Action::asRead(ActionType::Hide, std::nullopt)),
            R"({"type":"css-display-none"})");
  EXPECT_EQ(toJSON(*Action::make(ActionType::Hide, "")),
            R"({"type":"css-display-none","selector":""})");
}

TEST(RecordWriterTest, QuotesBackslashesAndControlCharactersAreEscaped) {
  EXPECT_EQ(toJSON(std::string_view("\"\\/\b\f\n\r\t")), R"("\"\\/\b\f\n\r\t")");
  EXPECT_EQ(toJSON(std::string_view("\0\x01\x1F\x7F", 4)), "\"\\u0000\\u0001\\u001F\x7F\"");
}

TEST(RecordWriterTest, TextBeyondASCIIIsWrittenAsItIs) {
  EXPECT_EQ(toJSON(std::string_view("\u00FC\u20AC\U0001F600\uFEFF")),
            "\"\u00FC\u20AC\U0001F600\uFEFF\"");
}

TEST(RecordWriterTest, AnEmptyTextIsTwoQuotes) {
  EXPECT_EQ(toJSON(std::string_view("")), "\"\"");
  EXPECT_EQ(toJSON(std::string_view()), "\"\"");
}

constexpr std::array<std::string_view, 9> invalidTexts{
    "\x80",              // a continuation without a beginning
    "\xC3",              // cut off
    "\xE2\x82",          // cut off later
    "a\xE2\x82z",        // cut off by another character
    "\xC0\xAF",          // longer than it needs to be
    "\xE0\x80\xAF",      // longer than it needs to be
    "\xED\xA0\x80",      // half of a surrogate pair
    "\xF4\x90\x80\x80",  // beyond the last code point
    "\xFF",              // never a byte of UTF-8
};

TEST(RecordWriterTest, TextThatIsNotValidUTF8CannotBeEncoded) {
  for (const auto text : invalidTexts) {
    const auto json = toJSON(text);
    ASSERT_FALSE(json.has_value()) << *json;
    EXPECT_EQ(json.error().domain, "JSON");
    EXPECT_FALSE(json.error().localizedDescription.empty());
  }
}

TEST(RecordWriterTest, ATextEndsWhereItsViewEnds) {
  const std::string_view euro = "\u20AC";
  EXPECT_FALSE(toJSON(euro.substr(0, 1)).has_value());
  EXPECT_FALSE(toJSON(euro.substr(0, 2)).has_value());
  EXPECT_EQ(toJSON(std::string_view("abc").substr(0, 2)), "\"ab\"");
  // A block of exactly this size, so that a read beyond it is noticed.
  const std::vector<char> block(euro.begin(), euro.begin() + 2);
  EXPECT_FALSE(toJSON(std::string_view(block.data(), block.size())).has_value());
}

TEST(RecordWriterTest, InvalidTextAnywhereInARecordIsTheCallersError) {
  const std::string invalid(invalidTexts[0]);
  const Package valid{"p", "P", {{"1", "one", fullBlocker()}}};
  const std::vector<std::function<void(Package&)>> spoilings{
      [&](Package& package) { package.id = invalid; },
      [&](Package& package) { package.name = invalid; },
      [&](Package& package) { package.rules[0].id = invalid; },
      [&](Package& package) { package.rules[0].name = invalid; },
      [&](Package& package) { package.rules[0].blocker.trigger.urlFilter = invalid; },
      [&](Package& package) { package.rules[0].blocker.trigger.domainFilter->values[1] = invalid; },
      [&](Package& package) {
        package.rules[0].blocker.action = *Action::make(ActionType::Hide, invalid);
      }};
  ASSERT_TRUE(toJSON(valid).has_value());
  for (std::size_t index = 0; index < spoilings.size(); ++index) {
    std::vector packages{valid, valid, valid};
    spoilings[index](packages[1]);
    const auto one = toJSON(packages[1]);
    const auto list = toJSON(std::span<const Package>(packages));
    ASSERT_FALSE(one.has_value()) << index;
    ASSERT_FALSE(list.has_value()) << index;
    EXPECT_EQ(one.error().domain, "JSON");
    EXPECT_EQ(list.error(), one.error());
  }
}

}  // namespace
}  // namespace orvane
