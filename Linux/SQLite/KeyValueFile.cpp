#include "Linux/SQLite/KeyValueFile.h"

#include "Linux/SQLite/SharedFile.h"

namespace orvane {
namespace {

constexpr int keyValueTimeout = 5000;

constexpr const char* keyValueSchema = R"sql(
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

constexpr const char* keyValueSettings = R"sql(
PRAGMA synchronous = NORMAL;
PRAGMA journal_size_limit = 1048576;
)sql";

constexpr SharedFileFormat keyValueFormat{.applicationID = 0x4F727661,
                                          .version = 1,
                                          .schema = keyValueSchema,
                                          .settings = keyValueSettings};

}  // namespace

Expected<SQLiteConnection> openKeyValueFile(const std::filesystem::path& path,
                                            const std::filesystem::path& doorbell) {
  return openSharedFile(path, doorbell, keyValueFormat, keyValueTimeout);
}

}  // namespace orvane
