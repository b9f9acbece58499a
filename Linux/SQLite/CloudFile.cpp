#include "Linux/SQLite/CloudFile.h"

#include "Linux/SQLite/SharedFile.h"

namespace orvane {
namespace {

constexpr const char* cloudSchema = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE zone (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE,
                   first INTEGER NOT NULL, last INTEGER NOT NULL);
CREATE TABLE record (zone INTEGER NOT NULL, name TEXT NOT NULL, type TEXT NOT NULL,
                     tag INTEGER NOT NULL, fields TEXT, PRIMARY KEY (zone, name));
CREATE UNIQUE INDEX record_by_tag ON record (zone, tag);
CREATE TABLE subscription (zone INTEGER PRIMARY KEY, id TEXT NOT NULL, since INTEGER NOT NULL);
CREATE TABLE key_value (key TEXT PRIMARY KEY, tag INTEGER NOT NULL, value TEXT) WITHOUT ROWID;
CREATE TABLE key_value_store (first INTEGER NOT NULL, last INTEGER NOT NULL);
INSERT INTO key_value_store SELECT start, start FROM (SELECT random() & 0x3FFFFFFFFFFFFFFF AS start);
CREATE TABLE public_record (name TEXT PRIMARY KEY, type TEXT NOT NULL, fields TEXT NOT NULL)
    WITHOUT ROWID;
PRAGMA application_id = 0x4F727643;
PRAGMA user_version = 1;
COMMIT;
)sql";

/// A machine that loses its current must not lose what another has been told is saved.
constexpr const char* cloudSettings = R"sql(
PRAGMA synchronous = FULL;
PRAGMA journal_size_limit = 1048576;
)sql";

/// Finds out that a table or a column is missing.
constexpr const char* lookAtTables = R"sql(
SELECT id, name, first, last FROM zone LIMIT 0;
SELECT zone, name, type, tag, fields FROM record LIMIT 0;
SELECT zone, id, since FROM subscription LIMIT 0;
SELECT key, tag, value FROM key_value LIMIT 0;
SELECT first, last FROM key_value_store LIMIT 0;
SELECT name, type, fields FROM public_record LIMIT 0;
)sql";

constexpr SharedFileFormat cloudFormat{
    .applicationID = 0x4F727643, .version = 1, .schema = cloudSchema, .settings = cloudSettings};

}  // namespace

std::filesystem::path doorbellOf(const std::filesystem::path& path) {
  return std::filesystem::path(path).replace_extension("doorbell");
}

Expected<SQLiteConnection> openCloudFile(const std::filesystem::path& path, int busyTimeout) {
  auto connection = openSharedFile(path, doorbellOf(path), cloudFormat, busyTimeout);
  if (!connection) return connection;
  if (auto result = connection->execute(lookAtTables); !result) {
    return tl::unexpected(result.error());
  }
  return connection;
}

}  // namespace orvane
