#pragma once

#include <filesystem>
#include <string>

#include <sqlite3.h>

namespace orvane::test {

/// A connection that knows nothing of doorbells and versions.
class RawDatabase {
 public:
  explicit RawDatabase(const std::filesystem::path& path) {
    sqlite3_open(path.c_str(), &handle_);
    sqlite3_busy_timeout(handle_, 5000);
  }
  RawDatabase(const RawDatabase&) = delete;
  RawDatabase& operator=(const RawDatabase&) = delete;
  ~RawDatabase() { sqlite3_close(handle_); }

  /// The first column of the last row, or what went wrong.
  std::string run(const std::string& statements) {
    std::string result;
    const auto keep = [](void* text, int, char** columns, char**) {
      *static_cast<std::string*>(text) = columns[0] == nullptr ? "NULL" : columns[0];
      return 0;
    };
    const int code = sqlite3_exec(handle_, statements.c_str(), keep, &result, nullptr);
    return code == SQLITE_OK ? result : sqlite3_errmsg(handle_);
  }

 private:
  sqlite3* handle_ = nullptr;
};

}  // namespace orvane::test
