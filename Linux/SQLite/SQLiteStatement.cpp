#include "Linux/SQLite/SQLiteStatement.h"

namespace orvane {

SQLiteStatement::SQLiteStatement(sqlite3* database, std::string_view text) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v3(database, text.data(), static_cast<int>(text.size()),
                     SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  statement_.reset(statement);
}

SQLiteRun::~SQLiteRun() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

bool SQLiteRun::next() {
  if (failed_) return false;
  const int result = sqlite3_step(statement_);
  failed_ = result != SQLITE_ROW && result != SQLITE_DONE;
  return result == SQLITE_ROW;
}

bool SQLiteRun::finish() {
  while (next()) {
  }
  return !failed_;
}

std::string_view SQLiteRun::text(int column) const {
  const auto bytesOfText = bytes(column);
  return {reinterpret_cast<const char*>(bytesOfText.data()), bytesOfText.size()};
}

std::span<const std::byte> SQLiteRun::bytes(int column) const {
  const auto* data = static_cast<const std::byte*>(sqlite3_column_blob(statement_, column));
  return {data, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

void SQLiteRun::bind(int index, std::int64_t value) {
  note(sqlite3_bind_int64(statement_, index, value));
}

void SQLiteRun::bind(int index, std::string_view text) {
  // A null pointer would be the absent value and not the empty text.
  const char* data = text.data() == nullptr ? "" : text.data();
  note(sqlite3_bind_text64(statement_, index, data, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SQLiteRun::bind(int index, std::span<const std::byte> bytes) {
  note(sqlite3_bind_blob64(statement_, index, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void SQLiteRun::bind(int index, std::nullptr_t) { note(sqlite3_bind_null(statement_, index)); }

}  // namespace orvane
