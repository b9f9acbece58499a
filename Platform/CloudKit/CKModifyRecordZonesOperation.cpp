#include "Platform/CloudKit/CKModifyRecordZonesOperation.h"

namespace orvane {

std::function<void()> CKModifyRecordZonesOperation::perform(
    const CKDatabase::Connection& connection, const std::optional<CKError>& refusal) {
  std::vector<CKRecordZone> saved;
  std::vector<CKRecordZoneID> deleted;
  auto error = refusal;
  const auto succeeds = [&](const CKResult<void>& result) {
    if (!result) error = result.error();
    return result.has_value();
  };
  for (auto zone = zonesToSave_.begin(); !error && zone != zonesToSave_.end(); ++zone) {
    if (succeeds(connection.backend.saveZone(zone->zoneID, call()))) saved.push_back(*zone);
  }
  for (auto id = zoneIDsToDelete_.begin(); !error && id != zoneIDsToDelete_.end(); ++id) {
    if (succeeds(connection.backend.deleteZone(*id, call()))) deleted.push_back(*id);
  }
  return [this, saved, deleted, error] { completion_(saved, deleted, error); };
}

}  // namespace orvane
