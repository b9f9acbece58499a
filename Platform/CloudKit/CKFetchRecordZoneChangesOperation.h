#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "Platform/CloudKit/CKDatabaseOperation.h"

namespace orvane {

/// Fetches one page of what has changed in a zone behind a token. A fetch returns this machine's
/// own saves too.
class CKFetchRecordZoneChangesOperation final : public CKDatabaseOperation {
 public:
  struct ZoneResult {
    /// Absent when the fetch failed.
    std::optional<CKServerChangeToken> token;
    bool moreComing = false;
    std::optional<CKError> error;
  };

  /// Without a token everything is fetched.
  CKFetchRecordZoneChangesOperation(CKRecordZoneID zoneID,
                                    std::optional<CKServerChangeToken> previousServerChangeToken)
      : zoneID_(std::move(zoneID)), token_(std::move(previousServerChangeToken)) {}

  /// Called for each changed record, then for each deleted one, then once for the zone.
  void setRecordChangedBlock(std::function<void(const CKRecord&)> block) {
    changed_ = std::move(block);
  }
  void setRecordWithIDWasDeletedBlock(
      std::function<void(const CKRecordID&, const std::string& recordType)> block) {
    deleted_ = std::move(block);
  }
  void setRecordZoneFetchCompletionBlock(std::function<void(const ZoneResult&)> block) {
    completion_ = std::move(block);
  }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  CKRecordZoneID zoneID_;
  std::optional<CKServerChangeToken> token_;
  std::function<void(const CKRecord&)> changed_ = [](const auto&) {};
  std::function<void(const CKRecordID&, const std::string&)> deleted_ = [](const auto&,
                                                                           const auto&) {};
  std::function<void(const ZoneResult&)> completion_ = [](const auto&) {};
};

}  // namespace orvane
