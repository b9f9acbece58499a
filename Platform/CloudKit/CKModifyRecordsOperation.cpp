#include "Platform/CloudKit/CKModifyRecordsOperation.h"

#include <algorithm>
#include <memory>
#include <set>

#include <fmt/format.h>

#include "Platform/CloudKit/RecordCheck.h"

namespace orvane {
namespace {

CKPartialError failedWithTheOthers(const CKRecordID& recordID) {
  CKError error;
  error.code = CKErrorCode::batchRequestFailed;
  error.localizedDescription = "Another record of the same request could not be saved.";
  return {recordID, error};
}

/// The ancestor of a record that was never saved from here is the record itself.
void addClientSide(CKError& error, const std::shared_ptr<const CKRecord>& record) {
  error.clientRecord = record;
  error.ancestorRecord = record->recordChangeTag()
                             ? std::make_shared<const CKRecord>(record->beforeChanges())
                             : record;
}

/// Says what the items were here, and names those that have failed only with the others.
CKError completed(CKError error, CloudBatch batch) {
  if (error.code != CKErrorCode::partialFailure) return error;
  const auto records =
      std::make_shared<const std::vector<CKRecord>>(std::move(batch.recordsToSave));
  std::set<CKRecordID> failed;
  for (auto& [itemID, itemError] : error.partialErrorsByItemID) {
    const auto& recordID = std::get<CKRecordID>(itemID);
    failed.insert(recordID);
    if (itemError.code != CKErrorCode::serverRecordChanged) continue;
    const auto record = std::ranges::find(*records, recordID, &CKRecord::recordID);
    addClientSide(itemError, {records, &*record});
  }
  const auto addOther = [&](const CKRecordID& recordID) {
    if (failed.insert(recordID).second) {
      error.partialErrorsByItemID.push_back(failedWithTheOthers(recordID));
    }
  };
  for (const auto& record : *records) addOther(record.recordID());
  for (const auto& recordID : batch.recordIDsToDelete) addOther(recordID);
  return error;
}

}  // namespace

CKModifyRecordsOperation::CKModifyRecordsOperation(std::vector<CKRecord> recordsToSave,
                                                   std::vector<CKRecordID> recordIDsToDelete)
    : recordIDsToDelete_(std::move(recordIDsToDelete)) {
  recordsToSave_.count = recordsToSave.size();
  if (!recordsToSave.empty()) recordsToSave_.firstID = recordsToSave.front().recordID();
  recordsToSave_.make = [records = std::move(recordsToSave)] { return records; };
}

std::optional<CKRecordID> CKModifyRecordsOperation::firstItemID() const {
  if (recordsToSave_.count > 0) return recordsToSave_.firstID;
  if (!recordIDsToDelete_.empty()) return recordIDsToDelete_.front();
  return std::nullopt;
}

std::function<void()> CKModifyRecordsOperation::perform(const CKDatabase::Connection& connection,
                                                        const std::optional<CKError>& refusal) {
  // Functions are copied, hundreds of records and errors should not be.
  const auto result = std::make_shared<const CKResult<std::vector<CKRecord>>>(
      refusal ? tl::unexpected(*refusal) : modify(connection));
  return [this, result] {
    if (*result) {
      completion_(**result, recordIDsToDelete_, std::nullopt);
    } else {
      completion_({}, {}, result->error());
    }
  };
}

CKResult<std::vector<CKRecord>> CKModifyRecordsOperation::modify(
    const CKDatabase::Connection& connection) const {
  const auto itemCount = recordsToSave_.count + recordIDsToDelete_.size();
  if (auto problem = problemWithItemCount(itemCount)) return tl::unexpected(*std::move(problem));
  CloudBatch batch;
  if (recordsToSave_.count > 0) batch.recordsToSave = recordsToSave_.make();
  batch.recordIDsToDelete = recordIDsToDelete_;
  if (batch.recordsToSave.empty() && batch.recordIDsToDelete.empty()) {
    return std::vector<CKRecord>();
  }
  batch.zoneID = batch.recordsToSave.empty() ? batch.recordIDsToDelete.front().zoneID
                                             : batch.recordsToSave.front().recordID().zoneID;
  if (auto problem = problemWith(batch))
    return tl::unexpected(completed(*std::move(problem), std::move(batch)));
  auto result = connection.backend.modifyRecords(batch, call());
  if (!result) return tl::unexpected(completed(std::move(result.error()), std::move(batch)));
  for (const auto& unknown : result->unknownIDs) {
    connection.systemLog.print(
        fmt::format("The record “{}” was to be deleted and was not there.", unknown.recordName));
  }
  std::vector<CKRecord> saved;
  saved.reserve(batch.recordsToSave.size());
  for (std::size_t index = 0; index < batch.recordsToSave.size(); ++index) {
    saved.push_back(batch.recordsToSave[index].savedWithChangeTag(result->changeTags.at(index)));
  }
  return saved;
}

}  // namespace orvane
