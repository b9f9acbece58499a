#include "Linux/SQLite/SQLiteConnection.h"

#include <string>
#include <system_error>

#include <fmt/format.h>
#include <glib.h>

#include "Linux/SQLite/SQLiteStatement.h"

namespace orvane {
namespace {

std::string escaped(const std::filesystem::path& path) {
  char* text = g_uri_escape_string(path.c_str(), "/", FALSE);
  std::string result = text;
  g_free(text);
  return result;
}

/// " (No space left on device)" after an error of the file system.
std::string systemReason(sqlite3* handle) {
  const int code = sqlite3_system_errno(handle);
  const int primary = sqlite3_errcode(handle) & 0xFF;
  const bool isOfFiles = primary == SQLITE_IOERR || primary == SQLITE_CANTOPEN;
  if (!isOfFiles || code == 0) return "";
  return fmt::format(" ({})", std::generic_category().message(code));
}

}  // namespace

Expected<SQLiteConnection> SQLiteConnection::open(const std::filesystem::path& path,
                                                  const std::filesystem::path& modeOf,
                                                  int busyTimeout) {
  // SQLite sets the mode while it makes the file. Making it here first, and closing it, would drop
  // the locks that another connection of this process holds on it.
  const auto uri = fmt::format("file:{}?modeof={}", escaped(std::filesystem::absolute(path)),
                               escaped(std::filesystem::absolute(modeOf)));
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_URI |
                        SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  sqlite3* handle = nullptr;
  const int result = sqlite3_open_v2(uri.c_str(), &handle, flags, nullptr);
  SQLiteConnection connection(handle, path);
  if (result != SQLITE_OK) return tl::unexpected(connection.error("open"));
  sqlite3_busy_timeout(handle, busyTimeout);
  return connection;
}

Expected<void> SQLiteConnection::execute(const char* statements) {
  if (sqlite3_exec(handle(), statements, nullptr, nullptr, nullptr) != SQLITE_OK) {
    return tl::unexpected(error("use"));
  }
  return {};
}

Expected<std::int64_t> SQLiteConnection::integer(const char* query) {
  const SQLiteStatement statement(handle(), query);
  SQLiteRun run(statement);
  if (!run.next()) return tl::unexpected(error("read"));
  return run.integer(0);
}

NSError SQLiteConnection::error(std::string_view operation) const {
  return {sqliteErrorDomain, sqlite3_extended_errcode(handle()),
          fmt::format("Cannot {} '{}': {}{}", operation, path_.string(), sqlite3_errmsg(handle()),
                      systemReason(handle()))};
}

bool SQLiteConnection::isInPlace() const {
  int hasMoved = 0;
  sqlite3_file_control(handle(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved);
  return hasMoved == 0;
}

}  // namespace orvane
