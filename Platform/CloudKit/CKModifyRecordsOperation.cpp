#include "Platform/CloudKit/CKModifyRecordsOperation.h"

#include <algorithm>
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
void addClientSide(CKError& error, const CKRecord& record) {
  error.clientRecord = record;
  error.ancestorRecord = record.recordChangeTag() ? record.beforeChanges() : record;
}

}  // namespace

std::function<void()> CKModifyRecordsOperation::perform(const CKDatabase::Connection& connection,
                                                        const std::optional<CKError>& refusal) {
  const auto result = refusal ? tl::unexpected(*refusal) : modify(connection);
  return [this, result] {
    if (result) {
      completion_(*result, recordIDsToDelete_, std::nullopt);
    } else {
      completion_({}, {}, result.error());
    }
  };
}

CloudBatch CKModifyRecordsOperation::batch() const {
  const auto& zoneID = recordsToSave_.empty() ? recordIDsToDelete_.front().zoneID
                                              : recordsToSave_.front().recordID().zoneID;
  return {zoneID, recordsToSave_, recordIDsToDelete_};
}

CKResult<std::vector<CKRecord>> CKModifyRecordsOperation::modify(
    const CKDatabase::Connection& connection) const {
  const auto itemCount = recordsToSave_.size() + recordIDsToDelete_.size();
  if (itemCount == 0) return std::vector<CKRecord>();
  if (auto problem = problemWithItemCount(itemCount)) return tl::unexpected(*std::move(problem));
  const auto batch = this->batch();
  if (auto problem = problemWith(batch)) return tl::unexpected(completed(*std::move(problem)));
  auto result = connection.backend.modifyRecords(batch, call());
  if (!result) return tl::unexpected(completed(std::move(result.error())));
  for (const auto& unknown : result->unknownIDs) {
    connection.systemLog.print(
        fmt::format("The record “{}” was to be deleted and was not there.", unknown.recordName));
  }
  std::vector<CKRecord> saved;
  saved.reserve(recordsToSave_.size());
  for (std::size_t index = 0; index < recordsToSave_.size(); ++index) {
    saved.push_back(recordsToSave_[index].savedWithChangeTag(result->changeTags.at(index)));
  }
  return saved;
}

/// Says what the items were here, and names those that have failed only with the others.
CKError CKModifyRecordsOperation::completed(CKError error) const {
  if (error.code != CKErrorCode::partialFailure) return error;
  std::set<CKRecordID> failed;
  for (auto& [itemID, itemError] : error.partialErrorsByItemID) {
    const auto& recordID = std::get<CKRecordID>(itemID);
    failed.insert(recordID);
    if (itemError.code != CKErrorCode::serverRecordChanged) continue;
    const auto record =
        std::find_if(recordsToSave_.begin(), recordsToSave_.end(),
                     [&](const auto& candidate) { return candidate.recordID() == recordID; });
    addClientSide(itemError, *record);
  }
  const auto addOther = [&](const CKRecordID& recordID) {
    if (failed.insert(recordID).second) {
      error.partialErrorsByItemID.push_back(failedWithTheOthers(recordID));
    }
  };
  for (const auto& record : recordsToSave_) addOther(record.recordID());
  for (const auto& recordID : recordIDsToDelete_) addOther(recordID);
  return error;
}

}  // namespace orvane
