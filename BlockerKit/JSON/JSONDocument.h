#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <simdjson.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// A value of a parsed document, or the absent value that a missing member gives. It refers to its
/// document, which outlives it.
class JSONValue {
 public:
  JSONValue() = default;
  explicit JSONValue(simdjson::dom::element element) : element_(element) {}

  /// The member under `key`; absent when there is none or when this is not an object. Of several
  /// members with the same key it is the last, as it is for the browser.
  JSONValue operator[](std::string_view key) const;

  /// Whether there is a value at all; null is one.
  bool exists() const { return element_.has_value(); }
  /// Whether this is true or false.
  bool isBool() const { return element_ && element_->is_bool(); }
  /// The number, or nothing when this is not a number.
  std::optional<double> number() const;
  /// The text, or nothing when this is not a string.
  std::optional<std::string_view> string() const;
  /// The text, empty when this is not a string.
  std::string stringValue() const { return std::string(string().value_or("")); }
  /// Whether this is the value true.
  bool boolValue() const;
  std::optional<simdjson::dom::array> array() const;
  std::optional<simdjson::dom::object> object() const;

 private:
  std::optional<simdjson::dom::element> element_;
};

/// A parsed JSON text.
class JSONDocument {
 public:
  /// Parses a whole text: strict JSON in valid UTF-8, no number beyond the range of a double or an
  /// integer of 64 bits, at most 1,024 levels deep. A byte order mark at the start is skipped. The
  /// error's domain is "JSON".
  static Expected<JSONDocument> parse(std::string text);

  JSONValue root() const { return JSONValue(root_); }

 private:
  JSONDocument(std::unique_ptr<simdjson::dom::parser> parser, simdjson::dom::element root);

  std::unique_ptr<simdjson::dom::parser> parser_;
  simdjson::dom::element root_;
};

}  // namespace orvane
