#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

#include <sqlite3.h>

#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The domain of errors whose code is an extended result code of SQLite.
inline constexpr const char* sqliteErrorDomain = "SQLite";

/// An open database file. One thread at a time, and never across a fork.
class SQLiteConnection {
 public:
  /// Opens the file for reading and writing. It is made when it is missing, with the permissions
  /// of `modeOf`, and so are the files that SQLite keeps beside it. Waits for up to `busyTimeout`
  /// milliseconds for other processes.
  static Expected<SQLiteConnection> open(const std::filesystem::path& path,
                                         const std::filesystem::path& modeOf, int busyTimeout);

  const std::filesystem::path& path() const { return path_; }
  sqlite3* handle() const { return handle_.get(); }

  /// Runs statements that have no result.
  Expected<void> execute(const char* statements);
  /// The first column of the first row, which there must be.
  Expected<std::int64_t> integer(const char* query);

  /// The error that the last call left: "Cannot write '/a/b': database is locked".
  NSError error(std::string_view operation) const;

  bool isInTransaction() const { return sqlite3_get_autocommit(handle()) == 0; }
  /// Whether the file that is open is still the one at its path.
  bool isInPlace() const;

 private:
  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
  };

  SQLiteConnection(sqlite3* handle, std::filesystem::path path)
      : handle_(handle), path_(std::move(path)) {}

  std::unique_ptr<sqlite3, Close> handle_;
  std::filesystem::path path_;
};

}  // namespace orvane
