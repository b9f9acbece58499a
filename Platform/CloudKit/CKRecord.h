#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Platform/CloudKit/CKRecordID.h"
#include "Platform/CloudKit/CKReference.h"
#include "Platform/Foundation/NSKeyedArchiver.h"

namespace orvane {

/// A value of a field. Text is UTF-8.
using CKRecordValue =
    std::variant<bool, std::int64_t, std::string, std::vector<std::string>, CKReference>;

/// A record of the cloud as somebody has it who may not have saved it yet: what the cloud knows of
/// it, the system fields, and named values.
class CKRecord {
 public:
  using Value = std::optional<CKRecordValue>;
  using Fields = std::map<std::string, CKRecordValue, std::less<>>;

  static constexpr const char* className = "CKRecord";

  /// A record that has never been saved from here.
  CKRecord(std::string recordType, CKRecordID recordID);
  /// A record as the cloud has it.
  CKRecord(std::string recordType, CKRecordID recordID, std::string recordChangeTag, Fields fields);
  /// The system fields of a record, without values. Nothing when that is not what was archived.
  static std::optional<CKRecord> decode(const NSKeyedUnarchiver& coder);

  const std::string& recordType() const { return recordType_; }
  const CKRecordID& recordID() const { return recordID_; }
  /// Another one at every save; absent in a record that was never saved from here.
  const std::optional<std::string>& recordChangeTag() const { return recordChangeTag_; }

  Value value(std::string_view key) const;
  /// The value as a `Type`, one of the variant's; null when it is absent or of another type.
  template <typename Type>
  const Type* as(std::string_view key) const {
    const auto found = fields_.find(key);
    return found == fields_.end() ? nullptr : std::get_if<Type>(&found->second);
  }
  const Fields& fields() const { return fields_; }

  /// Nothing takes the value away. The key counts as changed in either case, also when that is the
  /// value that it has.
  void setValue(const std::string& key, const Value& value);

  /// The keys that were set since the record was made, decoded or saved: what a save sends.
  std::set<std::string> changedKeys() const;
  /// The keys that have a value, and the changed ones.
  std::set<std::string> allKeys() const;

  /// The record as it was before anything was set.
  CKRecord beforeChanges() const;
  /// The record as it is once the cloud has saved it under that change tag.
  CKRecord savedWithChangeTag(std::string recordChangeTag) const;

  void encodeSystemFields(NSKeyedArchiver& coder) const;

  friend bool operator==(const CKRecord&, const CKRecord&) = default;

 private:
  std::string recordType_;
  CKRecordID recordID_;
  std::optional<std::string> recordChangeTag_;
  Fields fields_;
  /// What the changed keys had before.
  std::map<std::string, Value> before_;
};

}  // namespace orvane
