#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "Platform/CloudKit/CKDatabaseOperation.h"

namespace orvane {

/// The older form of `CKFetchRecordZoneChangesOperation`: fetches one page of what has changed in
/// one zone behind a token, this machine's own saves included.
class CKFetchRecordChangesOperation final : public CKDatabaseOperation {
 public:
  using Completion = std::function<void(const std::optional<CKServerChangeToken>& token,
                                        const std::optional<CKError>& error)>;

  /// Without a token everything is fetched.
  CKFetchRecordChangesOperation(CKRecordZoneID recordZoneID,
                                std::optional<CKServerChangeToken> previousServerChangeToken)
      : zoneID_(std::move(recordZoneID)), token_(std::move(previousServerChangeToken)) {}

  /// Called for each changed record, then for each deleted one, then once at the end.
  void setRecordChangedBlock(std::function<void(const CKRecord&)> block) {
    changed_ = std::move(block);
  }
  void setRecordWithIDWasDeletedBlock(std::function<void(const CKRecordID&)> block) {
    deleted_ = std::move(block);
  }
  void setFetchRecordChangesCompletionBlock(Completion block) { completion_ = std::move(block); }

  /// Whether there is another page. For the completion block.
  bool moreComing() const { return moreComing_; }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  CKRecordZoneID zoneID_;
  std::optional<CKServerChangeToken> token_;
  bool moreComing_ = false;
  std::function<void(const CKRecord&)> changed_ = [](const auto&) {};
  std::function<void(const CKRecordID&)> deleted_ = [](const auto&) {};
  Completion completion_ = [](const auto&, const auto&) {};
};

}  // namespace orvane
