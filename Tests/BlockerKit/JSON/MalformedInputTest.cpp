#include <string>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/BlockerKit/JSON/RecordReading.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int index = 0; index < count; ++index) result += text;
  return result;
}

std::string nested(std::string_view open, std::string_view close, int levels) {
  return repeated(open, levels) + repeated(close, levels);
}

void expectNoDocument(const std::string& text) {
  const auto document = JSONDocument::parse(text);
  ASSERT_FALSE(document.has_value()) << text.substr(0, 100);
  EXPECT_EQ(document.error().domain, "JSON");
  EXPECT_FALSE(document.error().localizedDescription.empty());
  RecordReading reading;
  EXPECT_TRUE(reading.packages(text).empty());
  EXPECT_TRUE(reading.output.lines.empty());
}

std::vector<Package> fullPackages() {
  const Blocker blocker{
      {.urlFilter = "^https?://\"ads\"\\.\u00FC\U0001F600",
       .caseSensitive = true,
       .resourceTypes = std::vector{ResourceType::Image},
       .loadType = std::vector{LoadType::ThirdParty},
       .domainFilter = DomainFilter{DomainFilterType::IfDomain, {"a.test", "\u20AC.test"}}},
      *Action::make(ActionType::Hide, "div.ad\n")};
  return {{"p", "P", {{"1", "one", blocker}, {"2", "", blocker}}}, {"q", "", {}}};
}

TEST(MalformedInputTest, ATextThatIsCutOffAnywhereIsNoDocument) {
  const auto packages = fullPackages();
  const auto text = toJSON(std::span<const Package>(packages)).value();
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(JSONDocument::parse(text.substr(0, length)).has_value()) << length;
  }
  EXPECT_EQ(RecordReading().packages(text), packages);
}

TEST(MalformedInputTest, AnEmptyTextIsNoDocument) {
  expectNoDocument("");
  expectNoDocument(" ");
  expectNoDocument("\n\n");
}

TEST(MalformedInputTest, WhatIsNotStrictJSONIsNoDocument) {
  for (const char* text : {"[1,]",        "[,1]",
                           "[1 2]",       "{\"a\" 1}",
                           "{\"a\":}",    "{a:1}",
                           "{'a':1}",     "[01]",
                           "[.5]",        "[1.]",
                           "[+1]",        "[0x1]",
                           "[NaN]",       "[Infinity]",
                           "[tru]",       "[True]",
                           "[] []",       "[]]",
                           "[[]",         "{]",
                           "[}",          "// comment\n[]",
                           "[\"a\nb\"]",  R"(["\x41"])",
                           R"(["\u12"])", R"(["\u12g4"])",
                           "\"",          "[\"a]",
                           "nul"}) {
    expectNoDocument(text);
  }
}

TEST(MalformedInputTest, NullBytesAreNoDocument) {
  expectNoDocument(std::string("\0", 1));
  expectNoDocument(std::string("[]\0", 3));
  expectNoDocument(std::string("\0[]", 3));
  expectNoDocument(std::string("[\0]", 3));
  expectNoDocument(std::string("[\"a\0b\"]", 7));
  expectNoDocument(std::string(4096, '\0'));
}

TEST(MalformedInputTest, InvalidUTF8IsNoDocument) {
  for (const char* bytes : {"\x80", "\xC3", "\xE2\x82", "\xC0\xAF", "\xED\xA0\x80",
                            "\xF4\x90\x80\x80", "\xFF", "\xFE\xFF"}) {
    expectNoDocument(fmt::format("[\"{}\"]", bytes));
    expectNoDocument(std::string(bytes));
  }
}

TEST(MalformedInputTest, HalfOfAnEscapedSurrogatePairIsNoDocument) {
  for (const char* escape :
       {"\\ud800", "\\udc00", "\\ud800\\u0041", "\\ud800x", "\\udc00\\ud800", "\\ud800\\ud800"}) {
    expectNoDocument(fmt::format("[\"{}\"]", escape));
  }
}

TEST(MalformedInputTest, NumbersBeyondTheRangeAreNoDocument) {
  for (const char* number : {"1e999", "-1e999", "99999999999999999999999", "18446744073709551616",
                             "-9223372036854775809"}) {
    expectNoDocument(arrayOf(number));
  }
  expectNoDocument(arrayOf(std::string(100000, '9')));
}

TEST(MalformedInputTest, LargeNumbersWithinTheRangeAreSkippedAsValues) {
  RecordReading reading;
  EXPECT_TRUE(
      reading
          .rules(fmt::format("[1e308,-1e-400,18446744073709551615,-9223372036854775808,0.{}]",
                             std::string(5000, '3')))
          .empty());
  EXPECT_TRUE(reading.parsed);
  EXPECT_EQ(reading.output.lines.size(), 15U);
}

TEST(MalformedInputTest, NestingBeyondTheLimitIsNoDocument) {
  EXPECT_TRUE(JSONDocument::parse(nested("[", "]", 1023)).has_value());
  expectNoDocument(nested("[", "]", 1025));
  expectNoDocument(nested("[", "]", 100000));
  expectNoDocument(nested("{\"a\":", "}", 1025));
  expectNoDocument(repeated("[", 1000000));
  expectNoDocument(repeated("{\"rules\":[", 100000));
}

TEST(MalformedInputTest, DeepNestingWithinTheLimitReadsAsNothing) {
  RecordReading reading;
  EXPECT_TRUE(reading.rules(nested("[", "]", 1000)).empty());
  EXPECT_TRUE(reading.parsed);
}

rc::Gen<std::string> joined(const char* open, const rc::Gen<std::vector<std::string>>& parts,
                            const char* close) {
  return rc::gen::map(parts, [=](const std::vector<std::string>& texts) {
    return fmt::format("{}{}{}", open, fmt::join(texts, ","), close);
  });
}

rc::Gen<std::string> anyScalar() {
  return rc::gen::element<std::string>("null", "true", "false", "7", "-1.5e3", "\"\"", "\"image\"",
                                       "\"block\"", "\"css-display-none\"", "\"third-party\"",
                                       "\"a.test\"", "[]", "{}", "[\"image\",7]");
}

/// Mostly `value`, and otherwise one that may be of another type.
rc::Gen<std::string> mostly(const rc::Gen<std::string>& value) {
  return rc::gen::weightedOneOf<std::string>({{9, value}, {1, anyScalar()}});
}

/// An array of a few mostly such values.
rc::Gen<std::string> arraysOf(const rc::Gen<std::string>& values) {
  const auto few = rc::gen::container<std::vector<std::string>>(mostly(values));
  return joined("[", rc::gen::resize(5, few), "]");
}

/// An object of these members in any order, some of them missing, doubled or of another type.
rc::Gen<std::string> objectsOf(
    const std::vector<std::pair<const char*, rc::Gen<std::string>>>& members) {
  return rc::gen::exec([=] {
    std::vector<std::string> parts;
    for (const auto& [key, value] : members) {
      const auto copies = *rc::gen::weightedElement<int>({{1, 0}, {12, 1}, {1, 2}});
      for (int copy = 0; copy < copies; ++copy) {
        const auto position = *rc::gen::inRange<std::size_t>(0, parts.size() + 1);
        parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(position),
                     fmt::format("\"{}\":{}", key, *mostly(value)));
      }
    }
    return fmt::format("{{{}}}", fmt::join(parts, ","));
  });
}

/// JSON that is nearly a package.
rc::Gen<std::string> nearlyPackages() {
  const auto word = rc::gen::element<std::string>("\"a\"", "\"image\"", "\"third-party\"",
                                                  "\"block\"", "\"css-display-none\"");
  const auto type = rc::gen::element<std::string>("\"block\"", "\"css-display-none\"",
                                                  "\"make-https\"", "\"ignore-previous-rules\"");
  const auto trigger = objectsOf({{"url-filter", word},
                                  {"url-filter-is-case-sensitive", anyScalar()},
                                  {"resource-type", arraysOf(word)},
                                  {"load-type", arraysOf(word)},
                                  {"if-domain", arraysOf(word)},
                                  {"unless-domain", arraysOf(word)}});
  const auto action = objectsOf({{"type", type}, {"selector", word}});
  const auto content = objectsOf({{"trigger", trigger}, {"action", action}});
  const auto rule = objectsOf({{"id", word}, {"name", word}, {"content", content}});
  return objectsOf({{"id", word}, {"name", word}, {"rules", arraysOf(rule)}});
}

RC_GTEST_PROP(MalformedInputProperties, WhatIsNearlyAPackageReadsAsWhatCanBeWrittenAndReadAgain,
              ()) {
  const auto json = *mostly(nearlyPackages());
  RecordReading reading;
  const auto packages = reading.packages(arrayOf(json));
  RC_ASSERT(reading.parsed);
  RC_ASSERT(packages.size() == 1U);
  RC_CLASSIFY(!packages[0].rules.empty(), "has rules");
  RC_CLASSIFY(!reading.output.lines.empty(), "drops rules");
  RC_ASSERT(reading.output.lines.size() % 3 == 0U);
  const auto written = toJSON(std::span<const Package>(packages));
  RC_ASSERT(written.has_value());
  RecordReading again;
  RC_ASSERT(again.packages(*written) == packages);
  RC_ASSERT(again.output.lines.empty());
  RC_ASSERT(again.uuidCount == 0);
}

RC_GTEST_PROP(MalformedInputProperties, AnyBytesAreADocumentOrAnError, ()) {
  const auto bytes = *rc::gen::container<std::string>(rc::gen::arbitrary<char>());
  const auto document = JSONDocument::parse(bytes);
  if (!document) RC_ASSERT(document.error().domain == "JSON");
  RecordReading reading;
  RC_ASSERT(toJSON(std::span<const Package>(reading.packages(bytes))).has_value());
}

RC_GTEST_PROP(MalformedInputProperties, ADamagedTextIsAnErrorOrStillReadable, ()) {
  static const auto text = toJSON(std::span<const Package>(fullPackages())).value();
  auto damaged = text;
  const auto count = *rc::gen::inRange(1, 4);
  for (int index = 0; index < count; ++index) {
    const auto position = *rc::gen::inRange<std::size_t>(0, damaged.size());
    const auto byte = *rc::gen::oneOf(rc::gen::arbitrary<char>(),
                                      rc::gen::element('"', '\\', '{', '}', '[', ']', ',', ':'));
    switch (*rc::gen::inRange(0, 3)) {
      case 0:
        damaged[position] = byte;
        break;
      case 1:
        damaged.insert(position, 1, byte);
        break;
      default:
        damaged.erase(position, 1);
        break;
    }
  }
  RecordReading reading;
  const auto packages = reading.packages(damaged);
  RC_CLASSIFY(reading.parsed, "still JSON");
  const auto written = toJSON(std::span<const Package>(packages));
  RC_ASSERT(written.has_value());
  RC_ASSERT(RecordReading().packages(*written) == packages);
}

}  // namespace
}  // namespace orvane::test
