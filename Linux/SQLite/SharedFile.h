#pragma once

#include <cstdint>
#include <filesystem>

#include "Linux/SQLite/SQLiteConnection.h"

namespace orvane {

/// What a file is to hold.
struct SharedFileFormat {
  std::int64_t applicationID;
  std::int64_t version;
  /// One transaction that makes the tables and sets both numbers.
  const char* schema;
  /// What each connection sets for itself.
  const char* settings;
};

/// Opens a file that processes share, with a log of its own (WAL), made with mode 0600 when it is
/// missing; its folder is not made. A file that is damaged, of another format or of a newer version
/// is an error and stays as it is. The doorbell, a file beside it, is what processes lock while
/// they open the file. Waits for up to `busyTimeout` milliseconds for those that use it.
Expected<SQLiteConnection> openSharedFile(const std::filesystem::path& path,
                                          const std::filesystem::path& doorbell,
                                          const SharedFileFormat& format, int busyTimeout);

}  // namespace orvane
