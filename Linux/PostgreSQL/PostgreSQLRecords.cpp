#include "Linux/PostgreSQL/PostgreSQLRecords.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "Linux/PostgreSQL/PostgreSQLChangeMark.h"
#include "Linux/PostgreSQL/PostgreSQLFailure.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

constexpr const char* lockZone =
    "SELECT epoch, seq FROM orvane.zones WHERE owner = current_user AND zone = $1 "
    "FOR NO KEY UPDATE";

/// Gives the conflicts, and the records to be deleted that are not there. With a conflict nothing
/// is counted, and so nothing written. The limit, of rows of which there is one at most, has each
/// looked up by its name: as a plain join the server compares the batch with the whole zone until
/// it has counted the table's rows.
constexpr const char* checkAndWrite = R"sql(
WITH zone AS (
  SELECT id, epoch, seq FROM orvane.zones WHERE owner = current_user AND zone = $1
), item AS (
  SELECT wanted.*, stored.tag || '.' || zone.epoch AS stored_tag, stored.type AS stored_type,
         stored.fields AS stored_fields, stored.device AS stored_device
  FROM unnest($2::text[], $3::text[], $4::text[], $5::jsonb[])
    WITH ORDINALITY AS wanted (name, type, expected, changes, place)
  CROSS JOIN zone
  LEFT JOIN LATERAL (
    SELECT * FROM orvane.records
    WHERE records.zone_id = zone.id AND records.name = wanted.name AND NOT records.deleted LIMIT 1
  ) AS stored ON true
), conflict AS (
  SELECT * FROM item WHERE expected IS DISTINCT FROM stored_tag
), removal AS (
  SELECT wanted.*, stored.name IS NOT NULL AS is_there
  FROM unnest($6::text[]) WITH ORDINALITY AS wanted (name, place)
  CROSS JOIN zone
  LEFT JOIN LATERAL (
    SELECT * FROM orvane.records
    WHERE records.zone_id = zone.id AND records.name = wanted.name AND NOT records.deleted LIMIT 1
  ) AS stored ON true
), counted AS (
  UPDATE orvane.zones SET seq = zones.seq + cardinality($2::text[]) + cardinality($6::text[])
  FROM zone WHERE zones.id = zone.id AND NOT EXISTS (SELECT FROM conflict)
  RETURNING zone.id, zone.seq
), saved AS (
  INSERT INTO orvane.records (zone_id, name, type, tag, fields, device)
  SELECT counted.id, item.name, item.type, counted.seq + item.place,
         jsonb_strip_nulls(coalesce(item.stored_fields, '{}') || item.changes), $7
  FROM item CROSS JOIN counted
  ON CONFLICT (zone_id, name) DO UPDATE
    SET type = excluded.type, tag = excluded.tag, deleted = false, fields = excluded.fields,
        device = excluded.device, modified = now()
), removed AS (
  UPDATE orvane.records AS stored
  SET tag = counted.seq + cardinality($2::text[]) + removal.place, deleted = true, fields = '{}',
      device = $7, modified = now()
  FROM removal CROSS JOIN counted
  WHERE stored.zone_id = counted.id AND stored.name = removal.name AND NOT stored.deleted
)
SELECT place, true, stored_tag, stored_type, stored_fields, stored_device FROM conflict
UNION ALL
SELECT place, false, NULL, NULL, NULL, NULL FROM removal WHERE NOT is_there
ORDER BY 1)sql";

/// The zone, once for each change, or alone. A token counts if it is of this zone, and of no future
/// that a backup has undone.
constexpr const char* fetchChanges = R"sql(
WITH zone AS (
  SELECT id, epoch, seq, $2 = epoch AND $3 BETWEEN 0 AND seq AS is_known
  FROM orvane.zones WHERE owner = current_user AND zone = $1
)
SELECT zone.epoch, zone.seq, changed.name, changed.type, changed.tag, changed.deleted,
       changed.fields
FROM zone LEFT JOIN LATERAL (
  SELECT * FROM orvane.records
  WHERE records.zone_id = zone.id AND records.tag > CASE WHEN zone.is_known THEN $3 ELSE 0 END
    AND (zone.is_known OR NOT records.deleted)
  ORDER BY records.tag LIMIT $4
) AS changed ON true
ORDER BY changed.tag)sql";

constexpr int isConflictColumn = 1;
constexpr int fieldsColumn = 4;

CKError unreadable(const std::string& reason) {
  return cloudError({CKErrorCode::internalError},
                    fmt::format("The cloud has a record that cannot be read: {}", reason));
}

CKResult<SaveConflict> conflictIn(const CloudBatch& batch, const PostgreSQLResult& result,
                                  int row) {
  SaveConflict conflict{static_cast<std::size_t>(result.integer(row, 0) - 1), nullptr, ""};
  if (result.isNull(row, 2)) return conflict;
  auto fields = recordFieldsFromJSON(result.text(row, fieldsColumn));
  if (!fields) return tl::unexpected(unreadable(fields.error().localizedDescription));
  conflict.serverRecord = std::make_shared<const CKRecord>(
      std::string(result.text(row, 3)), batch.recordsToSave[conflict.index].recordID(),
      std::string(result.text(row, 2)), *std::move(fields));
  conflict.device = result.text(row, 5);
  return conflict;
}

}  // namespace

CKResult<PostgreSQLConnection::Statements> modifyStatements(const CloudBatch& batch,
                                                            const ExpectedTags& expectedTags,
                                                            const std::string& device) {
  std::vector<std::string> names;
  std::vector<std::string> types;
  std::vector<std::string> changes;
  for (const auto& record : batch.recordsToSave) {
    names.push_back(record.recordID().recordName);
    types.push_back(record.recordType());
    auto changed = changedFieldsToJSON(record);
    if (!changed) {
      return tl::unexpected(
          cloudError({CKErrorCode::invalidArguments}, changed.error().localizedDescription));
    }
    changes.push_back(*std::move(changed));
  }
  std::vector<std::string> removals;
  for (const auto& recordID : batch.recordIDsToDelete) removals.push_back(recordID.recordName);
  using Value = PostgreSQLValue;
  const auto zone = Value::text(batch.zoneID.zoneName);
  return PostgreSQLConnection::Statements{
      {lockZone, {zone}},
      {checkAndWrite,
       {zone, Value::textArray(names), Value::textArray(types), Value::textArray(expectedTags),
        Value::jsonArray(changes), Value::textArray(removals), Value::text(device)}}};
}

CKResult<ModifyOutcome> modifyOutcome(const CloudBatch& batch,
                                      const PostgreSQLConnection::Results& results) {
  const auto& zone = results.at(0);
  const auto& rows = results.at(1);
  if (zone.rows() == 0) return tl::unexpected(noSuchZone(batch.zoneID));
  ModifyOutcome outcome;
  for (int row = 0; row < rows.rows(); ++row) {
    if (rows.boolean(row, isConflictColumn)) {
      auto conflict = conflictIn(batch, rows, row);
      if (!conflict) return tl::unexpected(std::move(conflict).error());
      outcome.conflicts.push_back(*std::move(conflict));
    } else {
      const auto index = static_cast<std::size_t>(rows.integer(row, 0) - 1);
      outcome.result.unknownIDs.push_back(batch.recordIDsToDelete[index]);
    }
  }
  PostgreSQLChangeMark mark{zone.integer(0, 1), std::string(zone.text(0, 0))};
  for (std::size_t saved = 0; saved < batch.recordsToSave.size(); ++saved) {
    ++mark.seq;
    outcome.result.changeTags.push_back(mark.text());
  }
  return outcome;
}

PostgreSQLStatement fetchStatement(const CKRecordZoneID& zoneID,
                                   const std::optional<CKServerChangeToken>& token,
                                   std::size_t limit) {
  const auto mark = token ? PostgreSQLChangeMark::parse(token->value) : std::nullopt;
  const auto behind = mark.value_or(PostgreSQLChangeMark{});
  // One more tells whether more is coming.
  constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
  const auto rows = static_cast<std::int64_t>(std::min(limit, most)) + 1;
  return {fetchChanges,
          {PostgreSQLValue::text(zoneID.zoneName), PostgreSQLValue::text(behind.epoch),
           PostgreSQLValue::integer(behind.seq), PostgreSQLValue::integer(rows)}};
}

CKResult<CloudChanges> fetchedChanges(const CKRecordZoneID& zoneID, std::size_t limit,
                                      const PostgreSQLResult& result) {
  if (result.rows() == 0) return tl::unexpected(noSuchZone(zoneID));
  PostgreSQLChangeMark mark{result.integer(0, 1), std::string(result.text(0, 0))};
  CloudChanges changes;
  const int found = result.isNull(0, 2) ? 0 : result.rows();
  changes.moreComing = static_cast<std::size_t>(found) > limit;
  const int taken = changes.moreComing ? static_cast<int>(limit) : found;
  for (int row = 0; row < taken; ++row) {
    CKRecordID recordID{std::string(result.text(row, 2)), zoneID};
    std::string type(result.text(row, 3));
    const PostgreSQLChangeMark tag{result.integer(row, 4), mark.epoch};
    // What is left behind this one comes next.
    if (changes.moreComing) mark.seq = tag.seq;
    if (result.boolean(row, 5)) {
      changes.deleted.push_back({std::move(recordID), std::move(type)});
      continue;
    }
    auto fields = recordFieldsFromJSON(result.text(row, 6));
    if (!fields) return tl::unexpected(unreadable(fields.error().localizedDescription));
    changes.changed.emplace_back(std::move(type), std::move(recordID), tag.text(),
                                 *std::move(fields));
  }
  changes.token.value = mark.text();
  return changes;
}

CKError noSuchZone(const CKRecordZoneID& zoneID) {
  return cloudError({CKErrorCode::zoneNotFound},
                    fmt::format("There is no zone '{}'.", zoneID.zoneName));
}

}  // namespace orvane
