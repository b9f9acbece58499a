#include "Platform/CloudKit/RecordCheck.h"

#include <algorithm>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "Platform/CloudKit/RecordText.h"

namespace orvane {
namespace {

constexpr std::size_t mostItems = 400;

CKError makeError(CKErrorCode code, std::string description) {
  CKError error;
  error.code = code;
  error.localizedDescription = std::move(description);
  return error;
}

CKError invalid(std::string description) {
  return makeError(CKErrorCode::invalidArguments, std::move(description));
}

struct StorableValue {
  bool operator()(bool) const { return true; }
  bool operator()(std::int64_t) const { return true; }
  bool operator()(const std::string& text) const { return canBeRecordText(text); }
  bool operator()(const std::vector<std::string>& list) const {
    return std::all_of(list.begin(), list.end(), canBeRecordText);
  }
  bool operator()(const CKReference& reference) const { return !problemWith(reference.recordID); }
};

/// Finds what makes single items of a batch impossible.
class ItemChecks {
 public:
  explicit ItemChecks(const CKRecordZoneID& zoneID) : zoneID_(zoneID) {}

  void add(const CKRecordID& recordID, std::optional<CKError> problem) {
    if (!problem && recordID.zoneID != zoneID_) problem = invalid("The record is of another zone.");
    if (!names_.insert(recordID).second && !problem) {
      problem = invalid(fmt::format("The record “{}” is there twice.", recordID.recordName));
    }
    if (problem) problems_.push_back({recordID, *std::move(problem)});
  }

  std::optional<CKError> result() const {
    if (problems_.empty()) return std::nullopt;
    auto error = makeError(CKErrorCode::partialFailure, "Some records cannot be stored.");
    error.partialErrorsByItemID = problems_;
    return error;
  }

 private:
  CKRecordZoneID zoneID_;
  std::set<CKRecordID> names_;
  std::vector<CKPartialError> problems_;
};

}  // namespace

std::optional<CKError> problemWith(const CKRecordID& recordID) {
  if (canBeRecordName(recordID.recordName) && canBeRecordName(recordID.zoneID.zoneName))
    return std::nullopt;
  return invalid("The name of a record or of its zone cannot be stored.");
}

std::optional<CKError> problemWith(const CKRecord& record) {
  if (auto problem = problemWith(record.recordID())) return problem;
  if (!canBeRecordName(record.recordType()))
    return invalid("The type of a record cannot be stored.");
  for (const auto& key : record.allKeys()) {
    const auto field = record.fields().find(key);
    const bool isStorable =
        field == record.fields().end() || std::visit(StorableValue{}, field->second);
    if (canBeRecordName(key) && isStorable) continue;
    return invalid(fmt::format("A text in “{}” of the record “{}” cannot be stored.", key,
                               record.recordID().recordName));
  }
  return std::nullopt;
}

std::optional<CKError> problemWithItemCount(std::size_t count) {
  if (count <= mostItems) return std::nullopt;
  return makeError(
      CKErrorCode::limitExceeded,
      fmt::format("{} records are more than the {} of one request.", count, mostItems));
}

std::optional<CKError> problemWith(const CloudBatch& batch) {
  ItemChecks checks(batch.zoneID);
  for (const auto& record : batch.recordsToSave) checks.add(record.recordID(), problemWith(record));
  for (const auto& recordID : batch.recordIDsToDelete) checks.add(recordID, problemWith(recordID));
  return checks.result();
}

}  // namespace orvane
