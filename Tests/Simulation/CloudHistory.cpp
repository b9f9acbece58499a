#include "Tests/Simulation/CloudHistory.h"

#include "BlockerKit/Model/PackageType.h"
#include "BlockerKit/SyncManager/RecordDecoding.h"
#include "BlockerKit/SyncManager/RecordKind.h"

namespace orvane::test {

void CloudHistory::modified(const CloudBatch& batch) {
  for (const auto& record : batch.recordsToSave) {
    if (record.recordType() == rawValue(RecordKind::package)) saved(record);
  }
  for (const auto& record : batch.recordsToSave) {
    if (record.recordType() == rawValue(RecordKind::rule)) saved(record);
  }
  for (const auto& recordID : batch.recordIDsToDelete) deleted(recordID.recordName);
}

void CloudHistory::saved(const CKRecord& record) {
  const auto& name = record.recordID().recordName;
  everSaved_.insert(name);
  const auto package = packageIdentifierFromRecord(record);
  if (!package) {
    packages_.insert(name);
    return;
  }
  rules_[name] = *package;
  const bool isThere =
      fromRawValue<ConfigurablePackageType>(*package) || packages_.contains(*package);
  if (isThere) {
    orphaned_.erase(name);
  } else {
    orphaned_.insert(name);
  }
}

void CloudHistory::deleted(const std::string& name) {
  rules_.erase(name);
  if (packages_.erase(name) == 0 || fromRawValue<ConfigurablePackageType>(name)) return;
  for (const auto& [rule, package] : rules_) {
    if (package == name) orphaned_.insert(rule);
  }
}

void CloudHistory::zoneDeleted() {
  hadZoneDeleted_ = true;
  ofDeletedZone_.insert(everSaved_.begin(), everSaved_.end());
  packages_.clear();
  rules_.clear();
}

}  // namespace orvane::test
