#include "Platform/CloudKit/RecordFieldsJSON.h"

#include <optional>
#include <utility>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

namespace orvane {
namespace {

using Array = PropertyListValue::Array;
using Data = PropertyListValue::Data;
using Dictionary = PropertyListValue::Dictionary;
using Element = simdjson::dom::element;
using Strings = std::vector<std::string>;
using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr const char* recordNameKey = "recordName";
constexpr const char* zoneNameKey = "zoneName";
constexpr int deepest = 32;

tl::unexpected<NSError> failure(std::string description) {
  return tl::unexpected(NSError{"JSON", 1, std::move(description)});
}

bool write(Writer& writer, bool value) { return writer.Bool(value); }
bool write(Writer& writer, std::int64_t value) { return writer.Int64(value); }

bool write(Writer& writer, const std::string& text) {
  return text.find('\0') == std::string::npos && simdjson::validate_utf8(text) &&
         writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

/// A key is written as a text is; the writer knows by the place which it is.
bool writeKey(Writer& writer, const std::string& key) { return write(writer, key); }

bool write(Writer& writer, const Strings& strings) {
  writer.StartArray();
  for (const auto& text : strings) {
    if (!write(writer, text)) return false;
  }
  return writer.EndArray();
}

bool write(Writer& writer, const CKReference& reference) {
  return writer.StartObject() && writer.Key(recordNameKey) &&
         write(writer, reference.recordID.recordName) && writer.Key(zoneNameKey) &&
         write(writer, reference.recordID.zoneID.zoneName) && writer.EndObject();
}

bool write(Writer& writer, const CKRecordValue& value) {
  return std::visit([&](const auto& content) { return write(writer, content); }, value);
}

bool write(Writer& writer, const CKRecord::Fields& fields) {
  writer.StartObject();
  for (const auto& [key, value] : fields) {
    if (!writeKey(writer, key) || !write(writer, value)) return false;
  }
  return writer.EndObject();
}

bool writeChanges(Writer& writer, const CKRecord& record) {
  writer.StartObject();
  for (const auto& key : record.changedKeys()) {
    const auto field = record.fields().find(key);
    if (!writeKey(writer, key)) return false;
    const bool isAbsent = field == record.fields().end();
    if (!(isAbsent ? writer.Null() : write(writer, field->second))) return false;
  }
  return writer.EndObject();
}

bool write(Writer& writer, const PropertyListValue& value, int depth);

bool write(Writer& writer, const Array& array, int depth) {
  writer.StartArray();
  for (const auto& element : array) {
    if (!write(writer, element, depth + 1)) return false;
  }
  return writer.EndArray();
}

bool write(Writer& writer, const Dictionary& dictionary, int depth) {
  writer.StartObject();
  for (const auto& [key, element] : dictionary) {
    if (!writeKey(writer, key) || !write(writer, element, depth + 1)) return false;
  }
  return writer.EndObject();
}

bool write(Writer&, const Data&, int) { return false; }
bool write(Writer& writer, bool value, int) { return writer.Bool(value); }
bool write(Writer& writer, std::int64_t value, int) { return writer.Int64(value); }
bool write(Writer& writer, const std::string& text, int) { return write(writer, text); }

bool write(Writer& writer, const PropertyListValue& value, int depth) {
  if (depth > deepest) return false;
  return std::visit([&](const auto& content) { return write(writer, content, depth); },
                    value.variant);
}

template <typename Write>
Expected<std::string> textOf(Write write) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  if (!write(writer)) {
    return failure("Data, deep nesting or a text of no valid UTF-8 is no JSON.");
  }
  return std::string(buffer.GetString(), buffer.GetSize());
}

/// The element as a `Type`, one of those that simdjson gives; nothing when it is of another type.
template <typename Type>
std::optional<Type> as(Element element) {
  Type value{};
  if (element.get(value) != simdjson::SUCCESS) return std::nullopt;
  return value;
}

std::optional<std::string> stringOf(Element element) {
  const auto text = as<std::string_view>(element);
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

std::optional<CKRecordValue> stringsOf(simdjson::dom::array array) {
  Strings strings;
  for (const auto element : array) {
    auto text = stringOf(element);
    if (!text) return std::nullopt;
    strings.push_back(*std::move(text));
  }
  return strings;
}

std::optional<std::string> stringAt(simdjson::dom::object object, const char* key) {
  Element element;
  if (object.at_key(key).get(element) != simdjson::SUCCESS) return std::nullopt;
  return stringOf(element);
}

std::optional<CKRecordValue> referenceOf(simdjson::dom::object object) {
  auto recordName = stringAt(object, recordNameKey);
  auto zoneName = stringAt(object, zoneNameKey);
  if (!recordName || !zoneName) return std::nullopt;
  return CKReference{{*std::move(recordName), {*std::move(zoneName)}}};
}

std::optional<CKRecordValue> recordValueOf(Element element) {
  // An integer that does not fit has another type.
  switch (element.type()) {
    case simdjson::dom::element_type::BOOL:
      return as<bool>(element);
    case simdjson::dom::element_type::INT64:
      return as<std::int64_t>(element);
    case simdjson::dom::element_type::STRING:
      return stringOf(element);
    case simdjson::dom::element_type::ARRAY:
      return stringsOf(*as<simdjson::dom::array>(element));
    case simdjson::dom::element_type::OBJECT:
      return referenceOf(*as<simdjson::dom::object>(element));
    default:
      return std::nullopt;
  }
}

std::optional<CKRecord::Fields> fieldsOf(Element root) {
  const auto object = as<simdjson::dom::object>(root);
  if (!object) return std::nullopt;
  CKRecord::Fields fields;
  for (const auto member : *object) {
    auto value = recordValueOf(member.value);
    if (!value) return std::nullopt;
    fields.insert_or_assign(std::string(member.key), *std::move(value));
  }
  return fields;
}

std::optional<PropertyListValue> propertyListOf(Element element);

std::optional<PropertyListValue> arrayOf(simdjson::dom::array elements) {
  Array array;
  for (const auto element : elements) {
    auto value = propertyListOf(element);
    if (!value) return std::nullopt;
    array.push_back(*std::move(value));
  }
  return array;
}

std::optional<PropertyListValue> dictionaryOf(simdjson::dom::object members) {
  Dictionary dictionary;
  for (const auto member : members) {
    auto value = propertyListOf(member.value);
    if (!value) return std::nullopt;
    dictionary.insert_or_assign(std::string(member.key), *std::move(value));
  }
  return dictionary;
}

std::optional<PropertyListValue> propertyListOf(Element element) {
  switch (element.type()) {
    case simdjson::dom::element_type::BOOL:
      return as<bool>(element);
    case simdjson::dom::element_type::INT64:
      return as<std::int64_t>(element);
    case simdjson::dom::element_type::STRING:
      return stringOf(element);
    case simdjson::dom::element_type::ARRAY:
      return arrayOf(*as<simdjson::dom::array>(element));
    case simdjson::dom::element_type::OBJECT:
      return dictionaryOf(*as<simdjson::dom::object>(element));
    default:
      return std::nullopt;
  }
}

/// What `valueOf` makes of the root of a text.
template <typename Value>
Expected<Value> read(std::string_view text, std::optional<Value> (*valueOf)(Element)) {
  simdjson::dom::parser parser;
  Element root;
  const auto error = parser.parse(text.data(), text.size()).get(root);
  if (error != simdjson::SUCCESS) return failure(simdjson::error_message(error));
  auto value = valueOf(root);
  if (!value) return failure("A value is of a type that is not expected there.");
  return *std::move(value);
}

}  // namespace

Expected<std::string> recordFieldsToJSON(const CKRecord::Fields& fields) {
  return textOf([&](Writer& writer) { return write(writer, fields); });
}

Expected<CKRecord::Fields> recordFieldsFromJSON(std::string_view text) {
  return read(text, fieldsOf);
}

Expected<std::string> changedFieldsToJSON(const CKRecord& record) {
  return textOf([&](Writer& writer) { return writeChanges(writer, record); });
}

Expected<std::string> propertyListToJSON(const PropertyListValue& value) {
  return textOf([&](Writer& writer) { return write(writer, value, 0); });
}

Expected<PropertyListValue> propertyListFromJSON(std::string_view text) {
  return read(text, propertyListOf);
}

}  // namespace orvane
