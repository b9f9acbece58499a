#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/CloudKit/CKDatabaseOperation.h"
#include "Platform/CloudKit/CKRecordZone.h"

namespace orvane {

/// Saves and deletes zones one after the other, up to the first that fails.
class CKModifyRecordZonesOperation final : public CKDatabaseOperation {
 public:
  using Completion = std::function<void(const std::vector<CKRecordZone>& savedZones,
                                        const std::vector<CKRecordZoneID>& deletedZoneIDs,
                                        const std::optional<CKError>& error)>;

  CKModifyRecordZonesOperation(std::vector<CKRecordZone> zonesToSave,
                               std::vector<CKRecordZoneID> zoneIDsToDelete)
      : zonesToSave_(std::move(zonesToSave)), zoneIDsToDelete_(std::move(zoneIDsToDelete)) {}

  const std::vector<CKRecordZone>& zonesToSave() const { return zonesToSave_; }
  const std::vector<CKRecordZoneID>& zoneIDsToDelete() const { return zoneIDsToDelete_; }

  void setModifyRecordZonesCompletionBlock(Completion block) { completion_ = std::move(block); }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  std::vector<CKRecordZone> zonesToSave_;
  std::vector<CKRecordZoneID> zoneIDsToDelete_;
  Completion completion_ = [](const auto&, const auto&, const auto&) {};
};

}  // namespace orvane
