#include "Benchmarks/PostgreSQLTable.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <fmt/format.h>

#include "Benchmarks/Check.h"
#include "Benchmarks/RuleRecords.h"

namespace orvane::benchmarks {
namespace {

constexpr const char* columns = "(zone_id, owner, name, type, tag, fields, device)";

constexpr const char* onConflict =
    " ON CONFLICT (zone_id, name) DO UPDATE SET tag = excluded.tag, fields = excluded.fields, "
    "modified = now()";

/// As COPY takes it. A JSON text has no line breaks and no tabs.
std::string copied(const std::string& json) {
  std::string text;
  for (const char character : json) {
    if (character == '\\') text.push_back('\\');
    text.push_back(character);
  }
  return text;
}

}  // namespace

PostgreSQLTable::PostgreSQLTable(const std::string& address, std::string name)
    : connection_(PQconnectdb(address.c_str())), name_(std::move(name)) {
  check(PQstatus(connection_.get()) == CONNECTION_OK, PQerrorMessage(connection_.get()));
  execute(fmt::format("CREATE TABLE public.{} (LIKE orvane.records INCLUDING ALL)", name_));
  execute("CREATE TEMPORARY TABLE incoming (LIKE orvane.records INCLUDING DEFAULTS)");
  // Nobody has counted the rows of the new table; without this each page sorts all of them.
  execute("SET enable_seqscan = off; SET enable_bitmapscan = off; SET enable_sort = off");
}

PostgreSQLTable::Result PostgreSQLTable::execute(const std::string& statement) {
  Result result(PQexec(connection_.get(), statement.c_str()));
  const auto status = PQresultStatus(result.get());
  check(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_COPY_IN ||
            status == PGRES_COPY_OUT,
        PQerrorMessage(connection_.get()));
  return result;
}

double PostgreSQLTable::roundTripMilliseconds() {
  using Clock = std::chrono::steady_clock;
  auto quickest = Clock::duration::max();
  for (int trip = 0; trip < 5; ++trip) {
    const auto begin = Clock::now();
    execute("SELECT");
    quickest = std::min(quickest, Clock::now() - begin);
  }
  return std::chrono::duration<double, std::milli>(quickest).count();
}

std::string PostgreSQLTable::rowOf(std::size_t index, const std::string& fields) {
  char* literal = PQescapeLiteral(connection_.get(), fields.data(), fields.size());
  check(literal != nullptr, "Cannot write a literal");
  auto row =
      fmt::format("(1,'alice','{}','rule',{},{},'device')", ruleRecordName(index), ++tag_, literal);
  PQfreemem(literal);
  return row;
}

void PostgreSQLTable::insertWith(const std::vector<std::string>& fields, const char* rest) {
  for (std::size_t first = 0; first < fields.size(); first += cloudBatchSize) {
    auto statement = fmt::format("INSERT INTO public.{} {} VALUES ", name_, columns);
    const auto end = std::min(first + cloudBatchSize, fields.size());
    for (std::size_t index = first; index < end; ++index) {
      if (index > first) statement += ',';
      statement += rowOf(index, fields[index]);
    }
    execute(statement + rest);
  }
}

void PostgreSQLTable::insert(const std::vector<std::string>& fields) { insertWith(fields, ""); }

void PostgreSQLTable::insertAgain(const std::vector<std::string>& fields) {
  insertWith(fields, onConflict);
}

std::size_t PostgreSQLTable::select() {
  std::size_t count = 0;
  std::string last = "0";
  for (bool isMoreComing = true; isMoreComing;) {
    const auto page =
        execute(fmt::format("SELECT tag, name, type, deleted, fields FROM public.{} "
                            "WHERE zone_id = 1 AND tag > {} ORDER BY tag LIMIT {}",
                            name_, last, cloudPageSize));
    const int rows = PQntuples(page.get());
    count += static_cast<std::size_t>(rows);
    isMoreComing = rows > 0;
    if (isMoreComing) last = PQgetvalue(page.get(), rows - 1, 0);
  }
  return count;
}

void PostgreSQLTable::copyTo(const std::string& table, const std::vector<std::string>& fields) {
  execute(fmt::format("COPY {} {} FROM STDIN", table, columns));
  std::string rows;
  const auto put = [&] {
    check(PQputCopyData(connection_.get(), rows.data(), static_cast<int>(rows.size())) == 1,
          "Cannot copy");
    rows.clear();
  };
  for (std::size_t index = 0; index < fields.size(); ++index) {
    rows += fmt::format("1\talice\t{}\trule\t{}\t{}\tdevice\n", ruleRecordName(index), ++tag_,
                        copied(fields[index]));
    if (index % cloudBatchSize == 0) put();
  }
  put();
  check(PQputCopyEnd(connection_.get(), nullptr) == 1, "Cannot copy");
  finishCopying();
}

void PostgreSQLTable::finishCopying() {
  while (const Result result{PQgetResult(connection_.get())}) {
    check(PQresultStatus(result.get()) == PGRES_COMMAND_OK, PQerrorMessage(connection_.get()));
  }
}

void PostgreSQLTable::copyIn(const std::vector<std::string>& fields) {
  copyTo("public." + name_, fields);
}

void PostgreSQLTable::copyInAgain(const std::vector<std::string>& fields) {
  execute("TRUNCATE incoming");
  copyTo("incoming", fields);
  execute(fmt::format("INSERT INTO public.{} SELECT * FROM incoming {}", name_, onConflict));
}

std::size_t PostgreSQLTable::copyOut() {
  execute(
      fmt::format("COPY (SELECT tag, name, type, deleted, fields FROM public.{} "
                  "WHERE zone_id = 1 ORDER BY tag) TO STDOUT",
                  name_));
  std::size_t count = 0;
  for (char* row = nullptr; PQgetCopyData(connection_.get(), &row, 0) > 0; ++count) PQfreemem(row);
  finishCopying();
  return count;
}

}  // namespace orvane::benchmarks
