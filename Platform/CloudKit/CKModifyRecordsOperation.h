#pragma once

#include <cstddef>
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

  /// Records that are made, on the cloud queue, when they are sent, once or never: of many
  /// operations that wait only one has its records in memory.
  struct PendingRecords {
    std::size_t count = 0;
    /// Of the first one, if there is one.
    CKRecordID firstID;
    /// Leaves out what turns out to be no record.
    std::function<std::vector<CKRecord>()> make;
  };

  CKModifyRecordsOperation(PendingRecords recordsToSave, std::vector<CKRecordID> recordIDsToDelete)
      : recordsToSave_(std::move(recordsToSave)),
        recordIDsToDelete_(std::move(recordIDsToDelete)) {}
  CKModifyRecordsOperation(std::vector<CKRecord> recordsToSave,
                           std::vector<CKRecordID> recordIDsToDelete);

  std::size_t recordCount() const { return recordsToSave_.count; }
  const std::vector<CKRecordID>& recordIDsToDelete() const { return recordIDsToDelete_; }

  /// Of the first record to be saved or, without one, of the first to be deleted.
  std::optional<CKRecordID> firstItemID() const;

  void setModifyRecordsCompletionBlock(Completion block) { completion_ = std::move(block); }

 protected:
  std::function<void()> perform(const CKDatabase::Connection& connection,
                                const std::optional<CKError>& refusal) override;

 private:
  CKResult<std::vector<CKRecord>> modify(const CKDatabase::Connection& connection) const;

  PendingRecords recordsToSave_;
  std::vector<CKRecordID> recordIDsToDelete_;
  Completion completion_ = [](const auto&, const auto&, const auto&) {};
};

}  // namespace orvane
