#include <gtest/gtest.h>

#include "Linux/SQLite/PropertyListEncoding.h"
#include "Tests/Linux/SQLite/PropertyListGenerators.h"

namespace orvane::test {
namespace {

using Array = PropertyListValue::Array;
using Data = PropertyListValue::Data;
using Dictionary = PropertyListValue::Dictionary;

TEST(PropertyListEncoding, anyValueComesBack) {
  EXPECT_TRUE(rc::check([] {
    const auto value = *propertyLists(3);
    const auto bytes = encode(value);
    RC_ASSERT(bytes.has_value());
    RC_ASSERT(decode(*bytes) == value);
    RC_ASSERT(*encode(*decode(*bytes)) == *bytes);
  }));
}

TEST(PropertyListEncoding, damagedBytesAreNoValueOrAnotherOneButNoHarm) {
  EXPECT_TRUE(rc::check([] {
    auto bytes = *encode(*propertyLists(2));
    const auto at = *rc::gen::inRange<std::size_t>(0, bytes.size());
    bytes[at] = static_cast<std::byte>(*rc::gen::inRange(0, 256));
    bytes.resize(*rc::gen::inRange<std::size_t>(at, bytes.size() + 1));
    if (const auto value = decode(bytes)) RC_ASSERT(decode(*encode(*value)) == value);
  }));
}

TEST(PropertyListEncoding, bytesThatAreNoValueAreAbsent) {
  EXPECT_EQ(decode({}), std::nullopt);
  EXPECT_EQ(decode(Data(100, std::byte{0xFF})), std::nullopt);
  const auto whole = *encode("text");
  EXPECT_EQ(decode(std::span(whole).first(whole.size() - 1)), std::nullopt);
}

TEST(PropertyListEncoding, bytesOfAnotherAlignmentAreRead) {
  const auto value = PropertyListValue(Array{std::int64_t{1} << 40, "x", true});
  auto bytes = *encode(value);
  bytes.insert(bytes.begin(), std::byte{0});
  EXPECT_EQ(decode(std::span(bytes).subspan(1)), value);
}

TEST(PropertyListEncoding, textThatWouldBeCutOrAlteredIsRefused) {
  for (const auto& text : {std::string("a\0b", 3), std::string(1, '\0'), std::string("\xFF"),
                           std::string("a\xC3"), std::string("\xED\xA0\x80")}) {
    EXPECT_FALSE(encode(text));
    EXPECT_FALSE(encode(Array{"fine", text}));
    EXPECT_FALSE(encode(Dictionary{{"fine", text}}));
    EXPECT_FALSE(encode(Dictionary{{text, "fine"}}));
  }
}

PropertyListValue nested(int levels) {
  PropertyListValue value = "innermost";
  for (; levels > 0; --levels) {
    value = levels % 2 == 0 ? PropertyListValue(Array{value})
                            : PropertyListValue(Dictionary{{"", value}});
  }
  return value;
}

TEST(PropertyListEncoding, nestingIsKeptAsDeepAsItCanBeReadAndRefusedBeyond) {
  EXPECT_EQ(decode(*encode(nested(32))), nested(32));
  EXPECT_FALSE(encode(nested(33)));
}

}  // namespace
}  // namespace orvane::test
