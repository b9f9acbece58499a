#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include <sqlite3.h>

namespace orvane {

/// A prepared statement, used again and again. Ends before its connection.
class SQLiteStatement {
 public:
  /// A statement that cannot be prepared is false.
  SQLiteStatement(sqlite3* database, std::string_view text);

  explicit operator bool() const { return statement_ != nullptr; }
  sqlite3_stmt* get() const { return statement_.get(); }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// One run of a statement, from its parameters to its last row. As long as it lasts, and outside of
/// a transaction, what other runs read is of the same moment. The parameters outlive the run, of
/// which a statement has one at a time. A run of a statement that could not be prepared fails.
class SQLiteRun {
 public:
  template <typename... Parameters>
  explicit SQLiteRun(const SQLiteStatement& statement, const Parameters&... parameters)
      : statement_(statement.get()), failed_(statement_ == nullptr) {
    int index = 0;
    (bind(++index, parameters), ...);
  }
  SQLiteRun(const SQLiteRun&) = delete;
  SQLiteRun& operator=(const SQLiteRun&) = delete;
  ~SQLiteRun();

  /// Goes to the next row. False at the end and after an error.
  bool next();
  /// Runs to the end; false after an error.
  bool finish();
  bool failed() const { return failed_; }

  bool isNull(int column) const { return sqlite3_column_type(statement_, column) == SQLITE_NULL; }
  std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
  std::string_view text(int column) const;
  /// Valid until the next row.
  std::span<const std::byte> bytes(int column) const;

 private:
  void bind(int index, std::int64_t value);
  void bind(int index, std::string_view text);
  void bind(int index, std::span<const std::byte> bytes);
  void bind(int index, std::nullptr_t);
  void note(int result) { failed_ |= result != SQLITE_OK; }

  sqlite3_stmt* statement_;
  bool failed_;
};

}  // namespace orvane
