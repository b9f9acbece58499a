#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "BlockerKit/JSON/RecordReader.h"
#include "Tests/Support/RecordingOutput.h"

namespace orvane::test {

/// A JSON array of these values, which are separated by commas.
inline std::string arrayOf(std::string_view values) { return fmt::format("[{}]", values); }

/// Reads records of a text, keeps the lines that reading prints, and counts the UUIDs that it
/// makes: "UUID-1", "UUID-2", ...
class RecordReading {
 public:
  /// The rules of `json`; none when it cannot be parsed.
  std::vector<Rule> rules(std::string json) {
    const auto document = JSONDocument::parse(std::move(json));
    parsed = document.has_value();
    return document ? reader_.rulesArrayValue(document->root()) : std::vector<Rule>();
  }

  std::vector<Package> packages(std::string json) {
    const auto document = JSONDocument::parse(std::move(json));
    parsed = document.has_value();
    return document ? reader_.packagesArrayValue(document->root()) : std::vector<Package>();
  }

  std::optional<Package> package(std::string json) {
    const auto document = JSONDocument::parse(std::move(json));
    parsed = document.has_value();
    return document ? reader_.package(document->root()) : std::nullopt;
  }

  /// Whether the last text was JSON.
  bool parsed = false;
  int uuidCount = 0;
  RecordingOutput output;

 private:
  UUIDGenerator makeUUID_ = [this] { return fmt::format("UUID-{}", ++uuidCount); };
  RecordReader reader_{output, makeUUID_};
};

}  // namespace orvane::test
