#include "Linux/SQLite/SharedFile.h"

#include <fmt/format.h>

#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/SQLite/SQLiteStatement.h"

namespace orvane {
namespace {

enum class Content : std::uint8_t { None, Ours };

tl::unexpected<NSError> refusal(const SQLiteConnection& connection, std::string_view reason) {
  return tl::unexpected(
      NSError{sqliteErrorDomain, SQLITE_NOTADB,
              fmt::format("Cannot open '{}': {}", connection.path().string(), reason)});
}

Expected<Content> contentOf(SQLiteConnection& connection, const SharedFileFormat& format) {
  const auto application = connection.integer("PRAGMA application_id");
  if (!application) return tl::unexpected(application.error());
  const auto found = connection.integer("PRAGMA user_version");
  if (!found) return tl::unexpected(found.error());
  const auto objects = connection.integer("SELECT count(*) FROM sqlite_schema");
  if (!objects) return tl::unexpected(objects.error());
  if (*application == 0 && *found == 0 && *objects == 0) return Content::None;
  if (*application != format.applicationID)
    return refusal(connection, "it is another program's database");
  if (*found != format.version) return refusal(connection, "it is of a newer version");
  return Content::Ours;
}

Expected<void> useWriteAheadLog(SQLiteConnection& connection) {
  const SQLiteStatement statement(connection.handle(), "PRAGMA journal_mode = WAL");
  SQLiteRun run(statement);
  if (!run.next()) return tl::unexpected(connection.error("open"));
  if (run.text(0) != "wal") return refusal(connection, "several processes cannot share it here");
  return {};
}

void setCheckpointOnClose(const SQLiteConnection& connection, bool enabled) {
  sqlite3_db_config(connection.handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, enabled ? 0 : 1,
                    nullptr);
}

/// The log is kept when its last user closes, and then emptied. Were it removed, a connection to a
/// file that is no longer in its place would remove the log of the one that is.
void keepLogFile(const SQLiteConnection& connection) {
  int keep = 1;
  sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
}

Expected<void> setUp(SQLiteConnection& connection, const SharedFileFormat& format) {
  // A file that turns out to be none of ours is not even to be tidied up.
  setCheckpointOnClose(connection, false);
  keepLogFile(connection);
  const auto content = contentOf(connection, format);
  if (!content) return tl::unexpected(content.error());
  if (auto result = useWriteAheadLog(connection); !result) return result;
  if (*content == Content::None) {
    if (auto result = connection.execute(format.schema); !result) return result;
  }
  if (auto result = connection.execute(format.settings); !result) return result;
  setCheckpointOnClose(connection, true);
  return {};
}

}  // namespace

Expected<SQLiteConnection> openSharedFile(const std::filesystem::path& path,
                                          const std::filesystem::path& doorbell,
                                          const SharedFileFormat& format, int busyTimeout) {
  // SQLite does not wait for a process that is about to change the journal mode.
  const auto lock = PosixFileSystem().lock(doorbell);
  if (!lock) return tl::unexpected(lock.error());
  auto connection = SQLiteConnection::open(path, doorbell, busyTimeout);
  if (!connection) return connection;
  if (auto result = setUp(*connection, format); !result) return tl::unexpected(result.error());
  return connection;
}

}  // namespace orvane
