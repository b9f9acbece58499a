#include "Linux/SQLite/KeyValueFile.h"

#include "Linux/SQLite/SharedFile.h"

namespace orvane {
namespace {

constexpr int busyTimeout = 5000;

constexpr const char* schema = R"sql(
BEGIN IMMEDIATE;
CREATE TABLE key (id INTEGER PRIMARY KEY, key TEXT NOT NULL UNIQUE, count INTEGER NOT NULL,
                  kind INTEGER NOT NULL, value BLOB);
CREATE TABLE entry (key INTEGER NOT NULL, name TEXT NOT NULL, value BLOB NOT NULL,
                    PRIMARY KEY (key, name)) WITHOUT ROWID;
CREATE TABLE file (id INTEGER NOT NULL);
INSERT INTO file VALUES (random());
PRAGMA application_id = 0x4F727661;
PRAGMA user_version = 1;
COMMIT;
)sql";

constexpr const char* settings = R"sql(
PRAGMA synchronous = NORMAL;
PRAGMA journal_size_limit = 1048576;
)sql";

constexpr SharedFileFormat format{
    .applicationID = 0x4F727661, .version = 1, .schema = schema, .settings = settings};

}  // namespace

Expected<SQLiteConnection> openKeyValueFile(const std::filesystem::path& path,
                                            const std::filesystem::path& doorbell) {
  return openSharedFile(path, doorbell, format, busyTimeout);
}

}  // namespace orvane
