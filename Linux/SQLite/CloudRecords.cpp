#include "Linux/SQLite/CloudRecords.h"

#include <memory>
#include <utility>

#include <fmt/format.h>

#include "Linux/SQLite/CloudFailure.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

// Of the rows that are read.
enum Column : int { name, type, tag, fields };

bool isDeleted(const SQLiteRun& row) { return row.isNull(Column::fields); }

CKError conflictError(CKErrorCode code, std::string description) {
  CKError error;
  error.code = code;
  error.localizedDescription = std::move(description);
  return error;
}

}  // namespace

/// Null in a text of fields takes the field away; so does the first merge, of a new record.
CloudRecords::CloudRecords(const SQLiteConnection& connection)
    : connection_(connection),
      find_(connection.handle(),
            "SELECT name, type, tag, fields FROM record "
            "WHERE zone = ? AND name = ? AND fields IS NOT NULL"),
      save_(connection.handle(),
            "INSERT INTO record (zone, name, type, tag, fields) "
            "VALUES (?1, ?2, ?3, ?4, json_patch('{}', ?5)) ON CONFLICT (zone, name) DO UPDATE "
            "SET type = ?3, tag = ?4, fields = json_patch(coalesce(fields, '{}'), ?5)"),
      remove_(connection.handle(),
              "UPDATE record SET tag = ?3, fields = NULL "
              "WHERE zone = ?1 AND name = ?2 AND fields IS NOT NULL"),
      changes_(connection.handle(),
               "SELECT name, type, tag, fields FROM record "
               "WHERE zone = ? AND tag > ? ORDER BY tag LIMIT ?"),
      addPublic_(connection.handle(),
                 "INSERT INTO public_record (name, type, fields) VALUES (?, ?, ?) "
                 "ON CONFLICT (name) DO NOTHING") {}

CKResult<CloudRecords::Modified> CloudRecords::modify(const Zone& zone, const CloudBatch& batch) {
  if (auto result = checkConflicts(zone, batch.recordsToSave); !result) {
    return tl::unexpected(result.error());
  }
  CloudBatchResult result;
  result.changeTags.reserve(batch.recordsToSave.size());
  std::int64_t change = zone.history.last;
  for (const auto& record : batch.recordsToSave) {
    if (auto saved = save(zone, record, ++change); !saved) return tl::unexpected(saved.error());
    result.changeTags.push_back(std::to_string(change));
  }
  for (const auto& recordID : batch.recordIDsToDelete) {
    const auto removed = remove(zone, recordID, change + 1);
    if (!removed) return tl::unexpected(removed.error());
    if (*removed) {
      ++change;
    } else {
      result.unknownIDs.push_back(recordID);
    }
  }
  return Modified{std::move(result), change};
}

CKResult<void> CloudRecords::checkConflicts(const Zone& zone,
                                            const std::vector<CKRecord>& records) {
  auto failure = conflictError(CKErrorCode::partialFailure, "Some records could not be saved.");
  for (const auto& record : records) {
    auto found = conflict(zone, record);
    if (!found) return tl::unexpected(found.error());
    if (*found) failure.partialErrorsByItemID.push_back({record.recordID(), **std::move(found)});
  }
  if (failure.partialErrorsByItemID.empty()) return {};
  return tl::unexpected(std::move(failure));
}

CKResult<std::optional<CKError>> CloudRecords::conflict(const Zone& zone, const CKRecord& record) {
  const auto& recordName = record.recordID().recordName;
  SQLiteRun run(find_, zone.id, recordName);
  const bool isThere = run.next();
  if (run.failed()) return cloudFailure(connection_.error("read"));
  if (!isThere) {
    if (!record.recordChangeTag()) return std::nullopt;
    return conflictError(CKErrorCode::unknownItem,
                         fmt::format("There is no record “{}” any more.", recordName));
  }
  if (record.recordChangeTag() == std::to_string(run.integer(Column::tag))) {
    return std::nullopt;
  }
  auto error = conflictError(CKErrorCode::serverRecordChanged,
                             fmt::format("The record “{}” has been changed.", recordName));
  auto serverRecord = recordOf(run, record.recordID());
  if (!serverRecord) return tl::unexpected(serverRecord.error());
  error.serverRecord = std::make_shared<const CKRecord>(*std::move(serverRecord));
  return error;
}

CKResult<CKRecord> CloudRecords::recordOf(const SQLiteRun& row, CKRecordID recordID) {
  auto values = recordFieldsFromJSON(row.text(Column::fields));
  if (!values) {
    return cloudFailure(
        CKErrorCode::badContainer,
        fmt::format("Cannot read the record “{}” of '{}': {}", recordID.recordName,
                    connection_.path().string(), values.error().localizedDescription));
  }
  return CKRecord(std::string(row.text(Column::type)), std::move(recordID),
                  std::to_string(row.integer(Column::tag)), *std::move(values));
}

CKResult<void> CloudRecords::save(const Zone& zone, const CKRecord& record, std::int64_t tag) {
  const auto changes = changedFieldsToJSON(record);
  if (!changes) {
    return cloudFailure(CKErrorCode::invalidArguments, changes.error().localizedDescription);
  }
  SQLiteRun run(save_, zone.id, record.recordID().recordName, record.recordType(), tag, *changes);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

CKResult<bool> CloudRecords::remove(const Zone& zone, const CKRecordID& recordID,
                                    std::int64_t tag) {
  SQLiteRun run(remove_, zone.id, recordID.recordName, tag);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return sqlite3_changes(connection_.handle()) > 0;
}

CKResult<CloudChanges> CloudRecords::changes(const Zone& zone, const CKRecordZoneID& zoneID,
                                             const std::optional<CKServerChangeToken>& token,
                                             std::size_t limit) {
  const auto& history = zone.history;
  CloudChanges result{.changed = {}, .deleted = {}, .token = history.tokenAt(history.last)};
  std::int64_t got = history.changeAt(token).value_or(history.first);
  // One more tells whether there are more.
  SQLiteRun run(changes_, zone.id, got, static_cast<std::int64_t>(limit) + 1);
  for (std::size_t count = 0; run.next(); ++count) {
    if (count == limit) {
      result.token = history.tokenAt(got);
      result.moreComing = true;
      return result;
    }
    CKRecordID recordID{std::string(run.text(Column::name)), zoneID};
    got = run.integer(Column::tag);
    if (isDeleted(run)) {
      result.deleted.push_back({std::move(recordID), std::string(run.text(Column::type))});
      continue;
    }
    auto record = recordOf(run, std::move(recordID));
    if (!record) return tl::unexpected(record.error());
    result.changed.push_back(*std::move(record));
  }
  if (run.failed()) return cloudFailure(connection_.error("read"));
  return result;
}

CKResult<void> CloudRecords::addPublic(const CKRecord& record) {
  const auto values = recordFieldsToJSON(record.fields());
  if (!values) {
    return cloudFailure(CKErrorCode::invalidArguments, values.error().localizedDescription);
  }
  SQLiteRun run(addPublic_, record.recordID().recordName, record.recordType(), *values);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

}  // namespace orvane
