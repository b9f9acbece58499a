#pragma once

#include <optional>

#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/NSUserDefaults.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The system fields of records between two launches: with its change tag a record that is saved
/// again is a modification, and not a new record.
class RecordMetadata {
 public:
  /// A dictionary: the name of a record, and its system fields as data.
  static constexpr const char* key = "RecordMetaData";

  /// Both outlive this.
  RecordMetadata(NSUserDefaults& defaults, LineOutput& standardOutput)
      : defaults_(defaults), standardOutput_(standardOutput) {}

  /// The system fields of the record, archived. Prints its change tag.
  PropertyListValue::Data getMetadata(const CKRecord& record);

  /// Remembers the system fields of the record across launches, and flushes the defaults.
  void updateMetadata(const CKRecord& record);

 private:
  NSUserDefaults& defaults_;
  LineOutput& standardOutput_;
};

/// The record, without values, whose system fields were archived. Nothing when that is not what the
/// value is.
std::optional<CKRecord> recordFromMetadata(const PropertyListValue& metadata);

}  // namespace orvane
