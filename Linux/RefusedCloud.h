#pragma once

#include <string>
#include <utility>

#include "Platform/CloudKit/CloudBackend.h"

namespace orvane {

/// Stands for a cloud that the user has chosen in a way that cannot be understood: another one in
/// its place would scatter the user's data.
class RefusedCloud final : public CloudBackend {
 public:
  explicit RefusedCloud(std::string reason) : reason_(std::move(reason)) {}

  CKResult<CKAccountStatus> accountStatus(const CloudCall& /*call*/) override { return refusal(); }
  CKResult<void> saveZone(const CKRecordZoneID&, const CloudCall&) override { return refusal(); }
  CKResult<void> deleteZone(const CKRecordZoneID&, const CloudCall&) override { return refusal(); }
  CKResult<void> saveSubscription(const CKSubscription&, const CloudCall&) override {
    return refusal();
  }
  CKResult<CloudBatchResult> modifyRecords(const CloudBatch&, const CloudCall&) override {
    return refusal();
  }
  CKResult<CloudChanges> fetchChanges(const CKRecordZoneID&,
                                      const std::optional<CKServerChangeToken>&, std::size_t,
                                      const CloudCall&) override {
    return refusal();
  }
  CKResult<CloudKeyValues> exchangeKeyValues(const CloudKeyValueChanges&,
                                             const std::optional<CKServerChangeToken>&,
                                             const CloudCall&) override {
    return refusal();
  }
  CKResult<void> addPublicRecord(const CKRecord&, const CloudCall&) override { return refusal(); }
  void setListener(std::function<void(const CloudEvent&)> /*told*/) override {}

 private:
  tl::unexpected<CKError> refusal() const {
    CKError error;
    error.code = CKErrorCode::notAuthenticated;
    error.localizedDescription = reason_;
    return tl::unexpected(error);
  }

  std::string reason_;
};

}  // namespace orvane
