#pragma once

#include <optional>

#include "Platform/CloudKit/CKRecord.h"
#include "Platform/Foundation/KeyValueDatabase.h"
#include "Platform/Foundation/LineOutput.h"
#include "Platform/Foundation/PropertyListValue.h"

namespace orvane {

/// The system fields of records between two launches: with its change tag a record that is saved
/// again is a modification, and not a new record.
class RecordMetadata {
 public:
  /// A dictionary: the name of a record, and its system fields as data.
  static constexpr const char* key = "RecordMetaData";

  /// The output outlives this.
  explicit RecordMetadata(LineOutput& standardOutput) : standardOutput_(standardOutput) {}

  /// The system fields of the record, archived. Prints its change tag.
  PropertyListValue::Data getMetadata(const CKRecord& record);

  /// Remembers the system fields of the record across launches, together with what else is in the
  /// transaction of the defaults. Whoever makes it flushes them.
  void updateMetadata(const CKRecord& record, KeyValueDatabase::Transaction& transaction);

 private:
  LineOutput& standardOutput_;
};

/// The record, without values, whose system fields were archived. Nothing when that is not what the
/// value is.
std::optional<CKRecord> recordFromMetadata(const PropertyListValue& metadata);

}  // namespace orvane
