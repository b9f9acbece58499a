#include "Platform/CloudKit/CKRecord.h"

#include <utility>

namespace orvane {
namespace {

constexpr const char* recordTypeKey = "RecordType";
constexpr const char* recordNameKey = "RecordName";
constexpr const char* zoneNameKey = "ZoneName";
constexpr const char* changeTagKey = "ChangeTag";

}  // namespace

CKRecord::CKRecord(std::string recordType, CKRecordID recordID)
    : recordType_(std::move(recordType)), recordID_(std::move(recordID)) {}

CKRecord::CKRecord(std::string recordType, CKRecordID recordID, std::string recordChangeTag,
                   Fields fields)
    : recordType_(std::move(recordType)),
      recordID_(std::move(recordID)),
      recordChangeTag_(std::move(recordChangeTag)),
      fields_(std::move(fields)) {}

std::optional<CKRecord> CKRecord::decode(const NSKeyedUnarchiver& coder) {
  auto type = coder.decode(recordTypeKey);
  auto name = coder.decode(recordNameKey);
  auto zone = coder.decode(zoneNameKey);
  if (!type || !name || !zone) return std::nullopt;
  CKRecord record(*std::move(type), CKRecordID{*std::move(name), {*std::move(zone)}});
  record.recordChangeTag_ = coder.decode(changeTagKey);
  return record;
}

CKRecord::Value CKRecord::value(std::string_view key) const {
  const auto found = fields_.find(key);
  if (found == fields_.end()) return std::nullopt;
  return found->second;
}

void CKRecord::setValue(const std::string& key, const Value& value) {
  if (!before_.contains(key)) before_.emplace(key, this->value(key));
  if (value) {
    fields_.insert_or_assign(key, *value);
  } else {
    fields_.erase(key);
  }
}

std::set<std::string> CKRecord::changedKeys() const {
  std::set<std::string> keys;
  for (const auto& [key, value] : before_) keys.insert(key);
  return keys;
}

std::set<std::string> CKRecord::allKeys() const {
  auto keys = changedKeys();
  for (const auto& [key, value] : fields_) keys.insert(key);
  return keys;
}

CKRecord CKRecord::beforeChanges() const {
  auto record = *this;
  for (const auto& [key, value] : before_) record.setValue(key, value);
  record.before_.clear();
  return record;
}

CKRecord CKRecord::savedWithChangeTag(std::string recordChangeTag) const {
  return {recordType_, recordID_, std::move(recordChangeTag), fields_};
}

void CKRecord::encodeSystemFields(NSKeyedArchiver& coder) const {
  coder.encode(recordType_, recordTypeKey);
  coder.encode(recordID_.recordName, recordNameKey);
  coder.encode(recordID_.zoneID.zoneName, zoneNameKey);
  if (recordChangeTag_) coder.encode(*recordChangeTag_, changeTagKey);
}

}  // namespace orvane
