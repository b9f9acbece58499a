#pragma once

#include <optional>
#include <vector>

#include "BlockerKit/JSON/JSONDocument.h"
#include "BlockerKit/Model/Package.h"
#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/NSUUID.h"

namespace orvane {

/// Reads records leniently: what is not a rule is dropped with a message, and what is around it is
/// kept. Nothing here fails as a whole.
class RecordReader {
 public:
  /// `output` gets a line for each thing that is dropped. A rule or package without an id gets one
  /// from `makeUUID`, another one at every reading. Both outlive the reader.
  RecordReader(LineOutput& output, const UUIDGenerator& makeUUID);

  /// The rules of an array of rule objects; none when `json` is not an array.
  std::vector<Rule> rulesArrayValue(const JSONValue& json) const;

  /// The packages of an array of package objects; none when `json` is not an array.
  std::vector<Package> packagesArrayValue(const JSONValue& json) const;

  /// One package object; nothing when `json` is not an object.
  std::optional<Package> package(const JSONValue& json) const;

 private:
  std::optional<Trigger> trigger(const JSONValue& json) const;
  std::optional<Action> action(const JSONValue& json) const;
  std::optional<Blocker> blocker(const JSONValue& json) const;
  std::string identifier(const JSONValue& json) const;
  Package packageFromAnyValue(const JSONValue& json) const;

  LineOutput& output_;
  const UUIDGenerator& makeUUID_;
};

}  // namespace orvane
