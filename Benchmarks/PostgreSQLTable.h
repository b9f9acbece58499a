#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <libpq-fe.h>

namespace orvane::benchmarks {

/// A table equal to the one that a cloud keeps its records in, without anything else that makes it
/// a cloud, and the quickest ways to write and read it.
class PostgreSQLTable {
 public:
  /// Makes it, in a database with a cloud, as the superuser.
  PostgreSQLTable(const std::string& address, std::string name);

  /// How long the quickest of a few statements took that do nothing.
  double roundTripMilliseconds();

  /// A statement for each batch of records with these fields.
  void insert(const std::vector<std::string>& fields);
  void insertAgain(const std::vector<std::string>& fields);
  /// A statement for each page. Returns how many rows that were.
  std::size_t select();

  /// All in one go.
  void copyIn(const std::vector<std::string>& fields);
  void copyInAgain(const std::vector<std::string>& fields);
  std::size_t copyOut();

 private:
  struct Finish {
    void operator()(PGconn* connection) const { PQfinish(connection); }
  };
  struct Clear {
    void operator()(PGresult* result) const { PQclear(result); }
  };
  using Result = std::unique_ptr<PGresult, Clear>;

  Result execute(const std::string& statement);
  void insertWith(const std::vector<std::string>& fields, const char* rest);
  std::string rowOf(std::size_t index, const std::string& fields);
  void copyTo(const std::string& table, const std::vector<std::string>& fields);
  void finishCopying();

  std::unique_ptr<PGconn, Finish> connection_;
  const std::string name_;
  std::int64_t tag_ = 0;
};

}  // namespace orvane::benchmarks
