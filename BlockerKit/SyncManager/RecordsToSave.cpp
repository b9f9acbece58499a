#include "BlockerKit/SyncManager/RecordsToSave.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "BlockerKit/Support/Quoted.h"
#include "BlockerKit/SyncManager/FieldDictionary.h"
#include "BlockerKit/SyncManager/RecordField.h"
#include "BlockerKit/SyncManager/RecordMetadata.h"
#include "Platform/CloudKit/RecordText.h"

namespace orvane {
namespace {

std::optional<CKRecordValue> recordValue(const PropertyListValue& value) {
  if (const auto* flag = value.as<bool>()) return *flag;
  if (const auto* number = value.as<std::int64_t>()) return *number;
  if (const auto* text = value.as<std::string>()) {
    return canBeRecordText(*text) ? std::optional<CKRecordValue>(*text) : std::nullopt;
  }
  auto texts = stringsOf(value);
  if (!texts || !std::ranges::all_of(*texts, canBeRecordText)) return std::nullopt;
  return *std::move(texts);
}

std::optional<CKRecordValue> fieldValue(const std::string& key, const PropertyListValue& value,
                                        const CKRecordZoneID& zoneID) {
  const auto* text = value.as<std::string>();
  if (key != RecordField::package || text == nullptr) return recordValue(value);
  if (!canBeRecordName(*text)) return std::nullopt;
  return CKReference{{*text, zoneID}, CKReferenceAction::none};
}

CKRecord recordWithSystemFields(RecordKind kind, CKRecordID recordID,
                                const PropertyListValue::Dictionary& metadata) {
  const std::string type(rawValue(kind));
  const auto known = metadata.find(recordID.recordName);
  if (known != metadata.end()) {
    auto record = recordFromMetadata(known->second);
    if (record && record->recordID() == recordID && record->recordType() == type) {
      return *std::move(record);
    }
  }
  return {type, std::move(recordID)};
}

void setFields(CKRecord& record, const FieldDictionary& fields, LineOutput& systemLog) {
  for (const auto& [key, value] : fields) {
    if (const auto found = fieldValue(key, value, record.recordID().zoneID)) {
      record.setValue(key, found);
    } else {
      systemLog.print(fmt::format("No record can hold the field {} of {}; it is not synced",
                                  quoted(key), quoted(record.recordID().recordName)));
    }
  }
}

void markOptionalFieldsChanged(CKRecord& record) {
  for (const auto* key : RecordField::optional) record.setValue(key, record.value(key));
}

}  // namespace

std::vector<CKRecord> recordsToSave(RecordKind kind, const PropertyListValue::Dictionary& added,
                                    const PropertyListValue::Dictionary& metadata,
                                    const CKRecordZoneID& zoneID, LineOutput& systemLog) {
  std::vector<CKRecord> records;
  records.reserve(added.size());
  for (const auto& [name, value] : added) {
    const auto* fields = value.as<FieldDictionary>();
    if (fields == nullptr || !canBeRecordName(name)) {
      systemLog.print(
          fmt::format("What is queued as {} is no record; it is not synced", quoted(name)));
      continue;
    }
    auto record = recordWithSystemFields(kind, {name, zoneID}, metadata);
    setFields(record, *fields, systemLog);
    if (kind == RecordKind::rule) markOptionalFieldsChanged(record);
    records.push_back(std::move(record));
  }
  return records;
}

bool isMadeOf(const CKRecord& record, const FieldDictionary& fields) {
  CKRecord::Fields values;
  for (const auto& [key, value] : fields) {
    if (auto found = fieldValue(key, value, record.recordID().zoneID)) {
      values.emplace(key, *std::move(found));
    }
  }
  return values == record.fields();
}

std::vector<CKRecordID> recordIDs(const std::vector<std::string>& names,
                                  const CKRecordZoneID& zoneID) {
  std::vector<CKRecordID> ids;
  ids.reserve(names.size());
  for (const auto& name : names) {
    if (canBeRecordName(name)) ids.push_back({name, zoneID});
  }
  return ids;
}

}  // namespace orvane
