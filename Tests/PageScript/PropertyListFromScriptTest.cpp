#include <string>

#include <gtest/gtest.h>

#include "Linux/GLib/GObjectPointer.h"
#include "Linux/WebKitGTK/PropertyListFromScript.h"

namespace orvane::test {
namespace {

class PropertyListFromScript : public ::testing::Test {
 protected:
  std::optional<PropertyListValue> of(const std::string& expression) {
    const GObjectPointer<JSCValue> value(
        jsc_context_evaluate(context.get(), ("(" + expression + ")").c_str(), -1));
    return propertyListFrom(value.get());
  }

  GObjectPointer<JSCContext> context{jsc_context_new()};
};

TEST_F(PropertyListFromScript, keepsWhatAPropertyListKnows) {
  EXPECT_EQ(of("true"), PropertyListValue(true));
  EXPECT_EQ(of("'text'"), PropertyListValue("text"));
  EXPECT_EQ(of("'\\u00e9\\u{1f600}'"), PropertyListValue("\u00e9\U0001f600"));
  EXPECT_EQ(of("'a\\u0000b'"), PropertyListValue(std::string("a\0b", 3)));
  EXPECT_EQ(of("[1, 'two', [false]]"),
            PropertyListValue(
                PropertyListValue::Array{std::int64_t{1}, "two", PropertyListValue::Array{false}}));
  EXPECT_EQ(of("{ a: 1, b: { c: 'd' } }"),
            PropertyListValue(PropertyListValue::Dictionary{
                {"a", std::int64_t{1}}, {"b", PropertyListValue::Dictionary{{"c", "d"}}}}));
}

TEST_F(PropertyListFromScript, keepsIntegersThatADoubleHoldsExactly) {
  EXPECT_EQ(of("0"), PropertyListValue(std::int64_t{0}));
  EXPECT_EQ(of("-0"), PropertyListValue(std::int64_t{0}));
  EXPECT_EQ(of("-7"), PropertyListValue(std::int64_t{-7}));
  EXPECT_EQ(of("2 ** 53"), PropertyListValue(std::int64_t{9'007'199'254'740'992}));
  for (const char* other : {"0.5", "2 ** 53 + 2", "-1e300", "NaN", "Infinity", "-Infinity"}) {
    EXPECT_EQ(of(other), std::nullopt) << other;
  }
}

TEST_F(PropertyListFromScript, leavesOutWhatItDoesNotKnow) {
  for (const char* unknown : {"undefined", "null", "() => 1", "Symbol()", "10n"}) {
    EXPECT_EQ(of(unknown), std::nullopt) << unknown;
  }
  EXPECT_EQ(of("{ a: null, b: 1, c: undefined, d: 0.5, e: () => 1 }"),
            PropertyListValue(PropertyListValue::Dictionary{{"b", std::int64_t{1}}}));
  EXPECT_EQ(of("[null, 1, , 2]"),
            PropertyListValue(PropertyListValue::Array{std::int64_t{1}, std::int64_t{2}}));
}

TEST_F(PropertyListFromScript, endsWithAValueThatHoldsItself) {
  EXPECT_TRUE(of("(() => { const a = {}; a.a = a; return a; })()").has_value());
  EXPECT_TRUE(of("(() => { const a = []; a.push(a); return a; })()").has_value());
}

TEST_F(PropertyListFromScript, doesNotTrustALength) {
  EXPECT_EQ(of("new Array(4294967295)"), std::nullopt);
}

TEST_F(PropertyListFromScript, survivesPropertiesThatThrow) {
  EXPECT_EQ(of("{ get a() { throw new Error('no'); }, b: 1 }"),
            PropertyListValue(PropertyListValue::Dictionary{{"b", std::int64_t{1}}}));
}

}  // namespace
}  // namespace orvane::test
