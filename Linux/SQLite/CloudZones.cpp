#include "Linux/SQLite/CloudZones.h"

#include <charconv>

#include <fmt/format.h>

#include "Linux/SQLite/CloudFailure.h"

namespace orvane {

std::optional<std::int64_t> CloudHistory::changeAt(
    const std::optional<CKServerChangeToken>& token) const {
  if (!token) return std::nullopt;
  const auto* end = token->value.data() + token->value.size();
  std::int64_t change = 0;
  const auto [parsed, error] = std::from_chars(token->value.data(), end, change);
  if (error != std::errc() || parsed != end) return std::nullopt;
  if (change < first || change > last) return std::nullopt;
  return change;
}

CloudZones::CloudZones(const SQLiteConnection& connection)
    : connection_(connection),
      find_(connection.handle(), "SELECT id, first, last FROM zone WHERE name = ?"),
      setLastChange_(connection.handle(), "UPDATE zone SET last = ?2 WHERE id = ?1"),
      save_(connection.handle(),
            "INSERT INTO zone (name, first, last) SELECT ?, start, start "
            "FROM (SELECT random() & 0x3FFFFFFFFFFFFFFF AS start)"),
      removeRecords_(connection.handle(), "DELETE FROM record WHERE zone = ?"),
      removeSubscription_(connection.handle(), "DELETE FROM subscription WHERE zone = ?"),
      remove_(connection.handle(), "DELETE FROM zone WHERE id = ?"),
      findSubscription_(connection.handle(), "SELECT id FROM subscription WHERE zone = ?"),
      saveSubscription_(connection.handle(),
                        "INSERT INTO subscription (zone, id, since) VALUES (?, ?, ?)") {}

CKResult<CloudZones::Zone> CloudZones::find(const CKRecordZoneID& zoneID) {
  SQLiteRun run(find_, zoneID.zoneName);
  if (run.next()) {
    return Zone{run.integer(0), {.first = run.integer(1), .last = run.integer(2)}};
  }
  if (run.failed()) return cloudFailure(connection_.error("read"));
  return cloudFailure(CKErrorCode::zoneNotFound,
                      fmt::format("There is no zone “{}”.", zoneID.zoneName));
}

CKResult<void> CloudZones::setLastChange(const Zone& zone, std::int64_t change) {
  SQLiteRun run(setLastChange_, zone.id, change);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

CKResult<void> CloudZones::save(const CKRecordZoneID& zoneID) {
  const auto found = find(zoneID);
  if (found) {
    return cloudFailure(CKErrorCode::serverRejectedRequest,
                        fmt::format("There is a zone “{}” already.", zoneID.zoneName));
  }
  if (found.error().code != CKErrorCode::zoneNotFound) return tl::unexpected(found.error());
  SQLiteRun run(save_, zoneID.zoneName);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

CKResult<void> CloudZones::remove(const CKRecordZoneID& zoneID) {
  const auto zone = find(zoneID);
  if (!zone) return tl::unexpected(zone.error());
  for (const auto* statement : {&removeRecords_, &removeSubscription_, &remove_}) {
    if (auto result = write(*statement, zone->id); !result) return result;
  }
  return {};
}

CKResult<void> CloudZones::saveSubscription(const CKSubscription& subscription) {
  const auto zone = find(subscription.zoneID);
  if (!zone) return tl::unexpected(zone.error());
  SQLiteRun found(findSubscription_, zone->id);
  if (found.next()) {
    return cloudFailure(CKErrorCode::serverRejectedRequest,
                        fmt::format("The subscription is a duplicate of {}", found.text(0)));
  }
  if (found.failed()) return cloudFailure(connection_.error("read"));
  SQLiteRun run(saveSubscription_, zone->id, subscription.subscriptionID, zone->history.last);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

CKResult<void> CloudZones::write(const SQLiteStatement& statement, std::int64_t zone) {
  SQLiteRun run(statement, zone);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

}  // namespace orvane
