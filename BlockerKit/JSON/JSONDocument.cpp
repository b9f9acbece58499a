#include "BlockerKit/JSON/JSONDocument.h"

#include <utility>

#include "BlockerKit/JSON/JSONText.h"

namespace orvane {

JSONValue JSONValue::operator[](std::string_view key) const {
  JSONValue found;
  if (const auto members = object()) {
    for (const auto member : *members) {
      if (member.key == key) found = JSONValue(member.value);
    }
  }
  return found;
}

std::optional<std::string_view> JSONValue::string() const {
  std::string_view text;
  if (!element_ || element_->get(text) != simdjson::SUCCESS) return std::nullopt;
  return text;
}

std::optional<double> JSONValue::number() const {
  double value = 0;
  if (!element_ || element_->get(value) != simdjson::SUCCESS) return std::nullopt;
  return value;
}

bool JSONValue::boolValue() const {
  bool value = false;
  return element_ && element_->get(value) == simdjson::SUCCESS && value;
}

std::optional<simdjson::dom::array> JSONValue::array() const {
  simdjson::dom::array values;
  if (!element_ || element_->get(values) != simdjson::SUCCESS) return std::nullopt;
  return values;
}

std::optional<simdjson::dom::object> JSONValue::object() const {
  simdjson::dom::object members;
  if (!element_ || element_->get(members) != simdjson::SUCCESS) return std::nullopt;
  return members;
}

JSONDocument::JSONDocument(std::unique_ptr<simdjson::dom::parser> parser,
                           simdjson::dom::element root)
    : parser_(std::move(parser)), root_(root) {}

Expected<JSONDocument> JSONDocument::parse(std::string text) {
  text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
  const std::string_view json = withoutByteOrderMark(text);
  auto parser = std::make_unique<simdjson::dom::parser>();
  simdjson::dom::element root;
  const auto error = parser->parse(json.data(), json.size(), /*realloc_if_needed=*/false).get(root);
  if (error != simdjson::SUCCESS) {
    return tl::unexpected(NSError{"JSON", error, simdjson::error_message(error)});
  }
  return JSONDocument(std::move(parser), root);
}

}  // namespace orvane
