#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/CloudKit/CKDatabaseOperation.h"

namespace orvane {

/// Saves and deletes records of one zone, all of them or none: a record is saved if the server's is
/// unchanged. One that is to be deleted and is not there counts as deleted.
///
/// When single items fail, the error is a `partialFailure` that names them, those that really
/// failed first, the others with `batchRequestFailed`.
class CKModifyRecordsOperation final : public CKDatabaseOperation {
 public:
  using Completion = std::function<void(const std::vector<CKRecord>& savedRecords,
                                        const std::vector<CKRecordID>& deletedRecordIDs,
                                        const std::optional<CKError>& error)>;

  CKModifyRecordsOperation(std::vector<CKRecord> recordsToSave,
                           std::vector<CKRecordID> recordIDsToDelete)
      : recordsToSave_(std::move(recordsToSave)),
        recordIDsToDelete_(std::move(recordIDsToDelete)) {}

  const std::vector<CKRecord>& recordsToSave() const { return recordsToSave_; }
  const std::vector<CKRecordID>& recordIDsToDelete() const { return recordIDsToDelete_; }

  void setModifyRecordsCompletionBlock(Completion block) { completion_ = std::move(block); }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  CKResult<std::vector<CKRecord>> modify(const CKDatabase::Connection& connection) const;
  CloudBatch batch() const;
  CKError completed(CKError error) const;

  std::vector<CKRecord> recordsToSave_;
  std::vector<CKRecordID> recordIDsToDelete_;
  Completion completion_ = [](const auto&, const auto&, const auto&) {};
};

}  // namespace orvane
