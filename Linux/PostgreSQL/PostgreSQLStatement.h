#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

namespace orvane {

/// A value that a statement takes, in the binary form of its type.
class PostgreSQLValue {
 public:
  static PostgreSQLValue text(std::string_view text);
  static PostgreSQLValue integer(std::int64_t value);
  static PostgreSQLValue json(std::string_view text);
  static PostgreSQLValue null() { return {}; }

  using OptionalTexts = std::vector<std::optional<std::string>>;
  static PostgreSQLValue textArray(const std::vector<std::string>& texts);
  static PostgreSQLValue textArray(const OptionalTexts& texts);
  static PostgreSQLValue jsonArray(const std::vector<std::string>& texts);

  Oid type() const { return type_; }
  /// Null for null.
  const char* data() const { return bytes_ ? bytes_->data() : nullptr; }
  int size() const { return bytes_ ? static_cast<int>(bytes_->size()) : 0; }

 private:
  PostgreSQLValue() = default;
  PostgreSQLValue(Oid type, std::string bytes) : type_(type), bytes_(std::move(bytes)) {}

  Oid type_ = 0;
  std::optional<std::string> bytes_;
};

struct PostgreSQLStatement {
  std::string text;
  std::vector<PostgreSQLValue> values;
};

/// The rows that a statement gives, or why it failed.
class PostgreSQLResult {
 public:
  explicit PostgreSQLResult(PGresult* result) : result_(result) {}

  /// Whether there is a result.
  explicit operator bool() const { return result_ != nullptr; }
  ExecStatusType status() const { return PQresultStatus(result_.get()); }
  /// Empty when the connection broke.
  std::string_view sqlState() const;
  std::string_view message() const { return PQresultErrorMessage(result_.get()); }

  int rows() const { return PQntuples(result_.get()); }
  bool isNull(int row, int column) const { return PQgetisnull(result_.get(), row, column) == 1; }
  std::string_view text(int row, int column) const;
  /// Zero for what is not an integer.
  std::int64_t integer(int row, int column) const;
  bool boolean(int row, int column) const { return text(row, column) == "t"; }

 private:
  struct Clear {
    void operator()(PGresult* result) const { PQclear(result); }
  };

  std::unique_ptr<PGresult, Clear> result_;
};

}  // namespace orvane
