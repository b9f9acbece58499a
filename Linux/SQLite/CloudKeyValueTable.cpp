#include "Linux/SQLite/CloudKeyValueTable.h"

#include <utility>

#include <fmt/format.h>

#include "Linux/SQLite/CloudFailure.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

constexpr std::int64_t mostKeys = 1024;
constexpr std::int64_t mostBytes = 1'000'000;

}  // namespace

CloudKeyValueTable::CloudKeyValueTable(const SQLiteConnection& connection)
    : connection_(connection),
      history_(connection.handle(), "SELECT first, last FROM key_value_store"),
      setLastChange_(connection.handle(), "UPDATE key_value_store SET last = ?"),
      set_(connection.handle(),
           "INSERT INTO key_value (key, tag, value) VALUES (?, ?, ?) "
           "ON CONFLICT (key) DO UPDATE SET tag = excluded.tag, value = excluded.value"),
      usage_(connection.handle(),
             "SELECT count(*), total(length(CAST(key AS BLOB)) + length(CAST(value AS BLOB))) "
             "FROM key_value WHERE value IS NOT NULL"),
      changes_(connection.handle(),
               "SELECT key, value FROM key_value WHERE tag > ?1 AND (?2 OR value IS NOT NULL)") {}

template <typename... Parameters>
CKResult<void> CloudKeyValueTable::write(const SQLiteStatement& statement,
                                         const Parameters&... parameters) {
  SQLiteRun run(statement, parameters...);
  if (!run.finish()) return cloudFailure(connection_.error("write"));
  return {};
}

CKResult<CloudHistory> CloudKeyValueTable::history() {
  SQLiteRun run(history_);
  if (run.next()) return CloudHistory{.first = run.integer(0), .last = run.integer(1)};
  if (run.failed()) return cloudFailure(connection_.error("read"));
  return cloudFailure(CKErrorCode::badContainer, fmt::format("There is no key-value store in '{}'.",
                                                             connection_.path().string()));
}

CKResult<void> CloudKeyValueTable::make(const CloudKeyValueChanges& changes) {
  const auto before = history();
  if (!before) return tl::unexpected(before.error());
  const auto change = before->last + 1;
  for (const auto& [key, value] : changes) {
    if (auto result = set(key, value, change); !result) return result;
  }
  if (auto result = write(setLastChange_, change); !result) return result;
  return checkQuota();
}

CKResult<void> CloudKeyValueTable::set(const std::string& key,
                                       const std::optional<PropertyListValue>& value,
                                       std::int64_t tag) {
  if (!value) return write(set_, key, tag, nullptr);
  const auto text = propertyListToJSON(*value);
  if (!text) return cloudFailure(CKErrorCode::invalidArguments, text.error().localizedDescription);
  return write(set_, key, tag, *text);
}

CKResult<void> CloudKeyValueTable::checkQuota() {
  SQLiteRun run(usage_);
  if (!run.next()) return cloudFailure(connection_.error("read"));
  if (run.integer(0) <= mostKeys && run.integer(1) <= mostBytes) return {};
  return cloudFailure(CKErrorCode::quotaExceeded, "The key-value store is full.");
}

CKResult<CloudKeyValues> CloudKeyValueTable::changes(
    const std::optional<CKServerChangeToken>& token, const CloudKeyValueChanges& except) {
  const auto now = history();
  if (!now) return tl::unexpected(now.error());
  const auto got = now->changeAt(token);
  CloudKeyValues result{.changes = {}, .token = now->tokenAt(now->last), .isAll = !got.has_value()};
  SQLiteRun run(changes_, got.value_or(now->first), std::int64_t{got.has_value()});
  while (run.next()) {
    std::string key(run.text(0));
    if (except.contains(key)) continue;
    auto& value = result.changes[key];
    if (run.isNull(1)) continue;
    auto read = propertyListFromJSON(run.text(1));
    if (!read) {
      return cloudFailure(
          CKErrorCode::badContainer,
          fmt::format("Cannot read “{}” in '{}': {}", key, connection_.path().string(),
                      read.error().localizedDescription));
    }
    value = *std::move(read);
  }
  if (run.failed()) return cloudFailure(connection_.error("read"));
  return result;
}

}  // namespace orvane
