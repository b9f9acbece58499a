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
                                const KeyValueEntries& metadata) {
  const std::string type(rawValue(kind));
  const auto known = metadata.value(recordID.recordName);
  if (known) {
    auto record = recordFromMetadata(*known);
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

RecordsToSave::RecordsToSave(Entries packages, Entries rules, Entries metadata,
                             CKRecordZoneID zoneID, LineOutput& systemLog)
    : packages_(std::move(packages)),
      rules_(std::move(rules)),
      metadata_(std::move(metadata)),
      zoneID_(std::move(zoneID)),
      systemLog_(&systemLog) {
  places_.reserve(packages_->count() + rules_->count());
  for (const auto kind : {RecordKind::package, RecordKind::rule}) addPlaces(kind, systemLog);
}

const KeyValueEntries& RecordsToSave::added(RecordKind kind) const {
  return kind == RecordKind::package ? *packages_ : *rules_;
}

void RecordsToSave::addPlaces(RecordKind kind, LineOutput& systemLog) {
  const auto& entries = added(kind);
  for (std::size_t index = 0; index < entries.count(); ++index) {
    const auto name = entries.name(index);
    if (entries.isDictionary(index) && canBeRecordName(name)) {
      places_.push_back({kind, index});
    } else {
      systemLog.print(
          fmt::format("What is queued as {} is no record; it is not synced", quoted(name)));
    }
  }
}

CKRecordID RecordsToSave::recordID(std::size_t index) const {
  const auto& place = places_.at(index);
  return {std::string(added(place.kind).name(place.index)), zoneID_};
}

std::vector<CKRecord> RecordsToSave::records(std::size_t begin, std::size_t end) const {
  std::vector<CKRecord> records;
  records.reserve(end - begin);
  for (auto index = begin; index < end; ++index) {
    const auto& [kind, entry] = places_.at(index);
    const auto value = added(kind).value(entry);
    const auto* fields = value ? value->as<FieldDictionary>() : nullptr;
    if (fields == nullptr) continue;
    auto record = recordWithSystemFields(kind, recordID(index), *metadata_);
    setFields(record, *fields, *systemLog_);
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
