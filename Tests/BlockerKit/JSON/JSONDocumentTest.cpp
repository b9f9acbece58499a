#include <gtest/gtest.h>

#include "BlockerKit/JSON/JSONDocument.h"

namespace orvane {
namespace {

JSONDocument parsed(std::string text) {
  auto document = JSONDocument::parse(std::move(text));
  EXPECT_TRUE(document.has_value());
  return document ? std::move(*document) : *JSONDocument::parse("null");
}

TEST(JSONDocumentTest, AByteOrderMarkAtTheStartIsSkipped) {
  const auto document = parsed("\uFEFF{\"a\":\"b\"}");
  EXPECT_EQ(document.root()["a"].string(), "b");
}

TEST(JSONDocumentTest, AByteOrderMarkElsewhereIsAnError) {
  EXPECT_FALSE(JSONDocument::parse("\uFEFF\uFEFF[]").has_value());
  EXPECT_FALSE(JSONDocument::parse("[]\uFEFF").has_value());
  EXPECT_FALSE(JSONDocument::parse(" \uFEFF[]").has_value());
  EXPECT_FALSE(JSONDocument::parse("\uFEFF").has_value());
}

TEST(JSONDocumentTest, ValuesOfAnotherTypeAreAbsent) {
  const auto document = parsed(R"({"text":"t","true":true,"number":7,"list":[1],"null":null})");
  const auto root = document.root();
  for (const char* key : {"true", "number", "list", "null", "missing"}) {
    EXPECT_EQ(root[key].string(), std::nullopt) << key;
    EXPECT_EQ(root[key].stringValue(), "") << key;
    EXPECT_FALSE(root[key].object()) << key;
    EXPECT_EQ(root[key].array().has_value(), std::string_view(key) == "list") << key;
    EXPECT_EQ(root[key].boolValue(), std::string_view(key) == "true") << key;
  }
  EXPECT_EQ(root["text"].string(), "t");
  EXPECT_FALSE(root["text"].boolValue());
}

TEST(JSONDocumentTest, AMemberOfWhatIsNoObjectIsAbsent) {
  const auto document = parsed(R"({"list":[1],"text":"t"})");
  EXPECT_FALSE(document.root()["list"]["0"].string());
  EXPECT_FALSE(document.root()["text"]["a"].string());
  EXPECT_FALSE(document.root()["missing"]["a"]["b"].object());
  EXPECT_FALSE(JSONValue()["a"].array());
}

TEST(JSONDocumentTest, OfDuplicateKeysTheLastCounts) {
  const auto document = parsed(R"({"a":"first","b":"other","a":"last"})");
  EXPECT_EQ(document.root()["a"].string(), "last");
}

TEST(JSONDocumentTest, KeysAreCaseSensitive) {
  const auto document = parsed(R"({"Key":"t"})");
  EXPECT_FALSE(document.root()["key"].string());
}

TEST(JSONDocumentTest, EscapesStandForTheirCharacters) {
  const auto document = parsed(R"(["\"\\\/\b\f\n\r\t\u00fc\ud83d\ude00\u0000"])");
  EXPECT_EQ(JSONValue(document.root().array()->at(0)).string(),
            std::string_view("\"\\/\b\f\n\r\t\u00FC\U0001F600\0", 15));
}

TEST(JSONDocumentTest, AMovedDocumentKeepsItsValues) {
  auto first = parsed(R"({"a":"a text that is longer than a short string"})");
  const auto root = first.root();
  const JSONDocument second = std::move(first);
  EXPECT_EQ(root["a"].string(), "a text that is longer than a short string");
  EXPECT_EQ(second.root()["a"].string(), root["a"].string());
}

TEST(JSONDocumentTest, WhiteSpaceAroundTheValueIsAllowed) {
  EXPECT_TRUE(parsed(" \t\r\n[ ]\n").root().array());
}

}  // namespace
}  // namespace orvane
