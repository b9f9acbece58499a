#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "BlockerKit/JSON/JSONText.h"
#include "BlockerKit/JSON/RecordWriter.h"
#include "Tests/Support/ModelGenerators.h"

namespace orvane::test {
namespace {

constexpr auto npos = std::string_view::npos;

TEST(JSONTextTest, AStringEndsBehindItsClosingQuote) {
  EXPECT_EQ(endOfJSONString(R"("")", 0), 2U);
  EXPECT_EQ(endOfJSONString(R"("abc","def")", 0), 5U);
  EXPECT_EQ(endOfJSONString(R"("abc","def")", 6), 11U);
}

TEST(JSONTextTest, AnEscapedQuoteDoesNotEndAString) {
  EXPECT_EQ(endOfJSONString(R"("a\"b")", 0), 6U);
  EXPECT_EQ(endOfJSONString(R"("a\\")", 0), 5U);
  EXPECT_EQ(endOfJSONString(R"("a\\\"b"x)", 0), 8U);
  EXPECT_EQ(endOfJSONString(R"("\u0022")", 0), 8U);
}

TEST(JSONTextTest, AStringThatNeverEndsHasNoEnd) {
  EXPECT_EQ(endOfJSONString("\"", 0), npos);
  EXPECT_EQ(endOfJSONString("\"abc", 0), npos);
  EXPECT_EQ(endOfJSONString("\"abc\\", 0), npos);
  EXPECT_EQ(endOfJSONString("\"abc\\\"", 0), npos);
  EXPECT_EQ(endOfJSONString("", 0), npos);
}

TEST(JSONTextTest, ACollectionEndsBehindItsLastBracket) {
  EXPECT_EQ(endOfJSONValue("[]", 0), 2U);
  EXPECT_EQ(endOfJSONValue("{},{}", 0), 2U);
  EXPECT_EQ(endOfJSONValue("{},{}", 3), 5U);
  EXPECT_EQ(endOfJSONValue(R"({"a":[{"b":{}},[[]]]},7)", 0), 21U);
}

TEST(JSONTextTest, BracketsInsideOfStringsDoNotCount) {
  EXPECT_EQ(endOfJSONValue(R"({"a}":"]"})", 0), 10U);
  EXPECT_EQ(endOfJSONValue(R"(["\"]","{"])", 0), 11U);
  EXPECT_EQ(endOfJSONValue(R"(["\\"],"]")", 0), 6U);
}

TEST(JSONTextTest, AStringIsAValue) {
  EXPECT_EQ(endOfJSONValue(R"("a]",7)", 0), 4U);
  EXPECT_EQ(endOfJSONValue(R"("a)", 0), npos);
}

TEST(JSONTextTest, ANumberOrAWordEndsAtWhatStandsBehindIt) {
  for (const char* behind : {",", "]", "}", " ", "\t", "\n", "\r", ""}) {
    EXPECT_EQ(endOfJSONValue(std::string("-1.5e3") + behind, 0), 6U) << behind;
    EXPECT_EQ(endOfJSONValue(std::string("true") + behind, 0), 4U) << behind;
  }
}

TEST(JSONTextTest, AValueThatNeverEndsHasNoEnd) {
  for (const char* text : {"", "[", "{", "[[]", "{\"a\":1", "[\"]", R"(["\"])", "{\"a\":{}"}) {
    EXPECT_EQ(endOfJSONValue(text, 0), npos) << text;
  }
}

TEST(JSONTextTest, WhiteSpaceIsSkippedUpToTheEnd) {
  EXPECT_EQ(skipJSONWhitespace("a", 0), 0U);
  EXPECT_EQ(skipJSONWhitespace(" \t\r\na", 0), 4U);
  EXPECT_EQ(skipJSONWhitespace("a b", 1), 2U);
  EXPECT_EQ(skipJSONWhitespace("a  ", 1), 3U);
  EXPECT_EQ(skipJSONWhitespace("", 0), 0U);
  EXPECT_EQ(skipJSONWhitespace("\v\f", 0), 0U);
}

TEST(JSONTextTest, OneByteOrderMarkIsTakenOff) {
  EXPECT_EQ(withoutByteOrderMark("\uFEFF[]"), "[]");
  EXPECT_EQ(withoutByteOrderMark("\uFEFF"), "");
  EXPECT_EQ(withoutByteOrderMark("\uFEFF\uFEFF"), "\uFEFF");
  EXPECT_EQ(withoutByteOrderMark("[]\uFEFF"), "[]\uFEFF");
  EXPECT_EQ(withoutByteOrderMark("\xEF\xBB"), "\xEF\xBB");
  EXPECT_EQ(withoutByteOrderMark(""), "");
}

RC_GTEST_PROP(JSONTextProperties, ARecordEndsWhereItsTextEnds, ()) {
  const auto package = toJSON(*packages()).value();
  RC_ASSERT(endOfJSONValue(package, 0) == package.size());
  RC_ASSERT(endOfJSONValue(fmt::format("[{0},{0}]", package), 1) == package.size() + 1);
  const auto length = *rc::gen::inRange<std::size_t>(0, package.size());
  RC_ASSERT(endOfJSONValue(package.substr(0, length), 0) == npos);
}

RC_GTEST_PROP(JSONTextProperties, AnEncodedTextEndsAtItsLastQuote, ()) {
  const auto text = toJSON(std::string_view(*texts())).value();
  RC_ASSERT(endOfJSONString(text, 0) == text.size());
  RC_ASSERT(endOfJSONValue(text, 0) == text.size());
  RC_ASSERT(endOfJSONString(text + "\"", 0) == text.size());
  RC_ASSERT(endOfJSONString(std::string_view(text).substr(0, text.size() - 1), 0) == npos);
}

RC_GTEST_PROP(JSONTextProperties, AnEndIsBehindTheBeginningAndWithinTheText, ()) {
  const auto text = *rc::gen::container<std::string>(
      rc::gen::element('"', '\\', '{', '}', '[', ']', ',', ':', ' ', 'a', '1'));
  for (std::size_t begin = 0; begin <= text.size(); ++begin) {
    const auto valueEnd = endOfJSONValue(text, begin);
    RC_ASSERT(valueEnd == npos || (valueEnd >= begin && valueEnd <= text.size()));
    const auto stringEnd = endOfJSONString(text, begin);
    RC_ASSERT(stringEnd == npos || (stringEnd > begin && stringEnd <= text.size()));
    if (stringEnd != npos) RC_ASSERT(text[stringEnd - 1] == '"');
    const auto next = skipJSONWhitespace(text, begin);
    RC_ASSERT(next >= begin && next <= text.size());
    if (next < text.size()) RC_ASSERT(text[next] != ' ');
  }
}

}  // namespace
}  // namespace orvane::test
