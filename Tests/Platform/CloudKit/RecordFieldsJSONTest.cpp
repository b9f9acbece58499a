#include <map>
#include <ostream>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <simdjson.h>

#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane::test {
namespace {

using Array = PropertyListValue::Array;
using Dictionary = PropertyListValue::Dictionary;
using Fields = CKRecord::Fields;
using Strings = std::vector<std::string>;

const CKReference reference{{"package", {"zone"}}};

CKRecord recordOf(const Fields& fields) { return {"Rule", {"name", {"zone"}}, "1", fields}; }

TEST(RecordFieldsJSON, everyTypeHasAFormOfItsOwn) {
  const Fields fields{{"array", Strings{"a", ""}}, {"false", false},    {"number", std::int64_t{1}},
                      {"reference", reference},    {"text", "1 \"é\\"}, {"true", true}};
  EXPECT_EQ(*recordFieldsToJSON(fields),
            R"({"array":["a",""],"false":false,"number":1,)"
            R"("reference":{"recordName":"package","zoneName":"zone"},)"
            R"("text":"1 \"é\\","true":true})");
}

TEST(RecordFieldsJSON, whatWasWrittenIsReadAgain) {
  const std::vector<CKRecordValue> values{true,
                                          false,
                                          std::int64_t{0},
                                          std::int64_t{1},
                                          INT64_MIN,
                                          INT64_MAX,
                                          "",
                                          "true",
                                          "\x01\t\n\"\\/",
                                          "⛔️ é 𝄞",
                                          Strings{},
                                          Strings{""},
                                          Strings{"a", "b"},
                                          reference};
  for (const auto& value : values) {
    const Fields fields{{"", value}, {"\"key\" é", value}};
    const auto text = recordFieldsToJSON(fields);
    ASSERT_TRUE(text) << value.index();
    EXPECT_EQ(recordFieldsFromJSON(*text), fields) << *text;
  }
  EXPECT_EQ(recordFieldsFromJSON(*recordFieldsToJSON({})), Fields{});
}

TEST(RecordFieldsJSON, aTextThatCannotBeKeptIsAnError) {
  for (const auto& text : {std::string("a\0b", 3), std::string("\xC3"), std::string("\xFF")}) {
    EXPECT_FALSE(recordFieldsToJSON({{"key", text}}));
    EXPECT_FALSE(recordFieldsToJSON({{text, true}}));
    EXPECT_FALSE(recordFieldsToJSON({{"key", Strings{text}}}));
    EXPECT_FALSE(recordFieldsToJSON({{"key", CKReference{{text, {"zone"}}}}}));
    EXPECT_FALSE(recordFieldsToJSON({{"key", CKReference{{"name", {text}}}}}));
    EXPECT_FALSE(propertyListToJSON(text));
    EXPECT_FALSE(propertyListToJSON(Dictionary{{text, true}}));
  }
}

TEST(RecordFieldsJSON, aTextOfNoFieldsIsAnError) {
  for (const auto* text : {"",
                           " ",
                           "nonsense",
                           "[]",
                           "true",
                           "null",
                           "{",
                           R"({"a":1)",
                           R"({"a":1}})",
                           R"({"a":null})",
                           R"({"a":1.5})",
                           R"({"a":1e3})",
                           R"({"a":9223372036854775808})",
                           R"({"a":[1]})",
                           R"({"a":["b",null]})",
                           R"({"a":[["b"]]})",
                           R"({"a":{}})",
                           R"({"a":{"recordName":"r"}})",
                           R"({"a":{"recordName":"r","zoneName":1}})",
                           "{\"a\":\"\xFF\"}"}) {
    const auto fields = recordFieldsFromJSON(text);
    ASSERT_FALSE(fields) << text;
    EXPECT_EQ(fields.error().domain, "JSON") << text;
  }
}

TEST(RecordFieldsJSON, changedKeysHaveTheirValueOrNull) {
  auto record = recordOf({{"changed", "old"}, {"kept", true}, {"removed", "old"}});
  EXPECT_EQ(*changedFieldsToJSON(record), "{}");
  record.setValue("changed", CKRecordValue("new"));
  record.setValue("removed", std::nullopt);
  record.setValue("added", CKRecordValue(std::int64_t{1}));
  record.setValue("never there", std::nullopt);
  EXPECT_EQ(*changedFieldsToJSON(record),
            R"({"added":1,"changed":"new","never there":null,"removed":null})");
}

/// The members of the first object with those of the second put over them, without nulls: what a
/// cloud does that knows nothing of records.
std::string merged(const std::string& state, const std::string& changes) {
  std::map<std::string, std::string> members;
  for (const auto& text : {state, changes}) {
    simdjson::dom::parser parser;
    simdjson::dom::element root = parser.parse(text);
    for (const auto member : simdjson::dom::object(root)) {
      members[std::string(member.key)] = simdjson::minify(member.value);
    }
  }
  std::string result;
  for (const auto& [key, value] : members) {
    if (value == "null") continue;
    result += (result.empty() ? "\"" : ",\"") + key + "\":" + value;
  }
  return "{" + result + "}";
}

struct Field {
  std::string key;
  CKRecord::Value value;
};

rc::Gen<std::vector<Field>> fieldLists() {
  const auto keys = rc::gen::element<std::string>("a", "b", "c", "d");
  const auto values = rc::gen::element<CKRecord::Value>(
      std::nullopt, CKRecordValue(true), CKRecordValue(std::int64_t{1}), CKRecordValue("text"),
      CKRecordValue(Strings{"a"}), CKRecordValue(reference));
  return rc::gen::container<std::vector<Field>>(rc::gen::apply(
      [](std::string key, CKRecord::Value value) {
        return Field{std::move(key), std::move(value)};
      },
      keys, values));
}

void showValue(const Field& field, std::ostream& os) {
  os << field.key << " = " << (field.value ? static_cast<int>(field.value->index()) : -1);
}

TEST(RecordFieldsJSON, changesPutOverTheRecordAsItWasAreTheRecordAsItIs) {
  EXPECT_TRUE(rc::check([&] {
    auto before = recordOf({});
    for (const auto& [key, value] : *fieldLists()) before.setValue(key, value);
    auto record = recordOf(before.fields());
    for (const auto& [key, value] : *fieldLists()) record.setValue(key, value);
    const auto text = merged(*recordFieldsToJSON(before.fields()), *changedFieldsToJSON(record));
    RC_ASSERT(*recordFieldsFromJSON(text) == record.fields());
  }));
}

TEST(PropertyListJSON, whatWasWrittenIsReadAgain) {
  const std::vector<PropertyListValue> values{
      true,
      false,
      std::int64_t{0},
      std::int64_t{1},
      INT64_MIN,
      INT64_MAX,
      "",
      "true",
      "⛔️ \"quoted\"\n",
      Array{},
      Array{"a", true, std::int64_t{1}, Array{}, Dictionary{}},
      Dictionary{},
      Dictionary{{"", ""}, {"b", Dictionary{{"c", Array{"d"}}}}}};
  for (const auto& value : values) {
    const auto text = propertyListToJSON(value);
    ASSERT_TRUE(text) << value.variant.index();
    const auto read = propertyListFromJSON(*text);
    ASSERT_TRUE(read) << *text;
    EXPECT_TRUE(*read == value) << *text;
  }
}

TEST(PropertyListJSON, dataIsAnError) {
  const PropertyListValue::Data data{std::byte{1}};
  EXPECT_FALSE(propertyListToJSON(data));
  EXPECT_FALSE(propertyListToJSON(Array{data}));
  EXPECT_FALSE(propertyListToJSON(Dictionary{{"key", data}}));
}

PropertyListValue nested(int levels) {
  PropertyListValue value = true;
  for (int level = 0; level < levels; ++level) value = Array{std::move(value)};
  return value;
}

TEST(PropertyListJSON, nestingHasAnEnd) {
  EXPECT_TRUE(propertyListToJSON(nested(32)));
  EXPECT_FALSE(propertyListToJSON(nested(33)));
}

TEST(PropertyListJSON, aTextOfNoValueIsAnError) {
  for (const auto* text : {"", "null", "1.5", "[null]", R"({"a":null})", "[1,]",
                           "18446744073709551615", "'a'", "true false", "\"\xFF\""}) {
    const auto value = propertyListFromJSON(text);
    ASSERT_FALSE(value) << text;
    EXPECT_EQ(value.error().domain, "JSON") << text;
  }
}

}  // namespace
}  // namespace orvane::test
