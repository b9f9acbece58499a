#include "Linux/PostgreSQL/PostgreSQLKeyValues.h"

#include <utility>

#include <fmt/format.h>

#include "Linux/PostgreSQL/PostgreSQLChangeMark.h"
#include "Linux/PostgreSQL/PostgreSQLFailure.h"
#include "Platform/CloudKit/RecordFieldsJSON.h"

namespace orvane {
namespace {

constexpr const char* lockAccount =
    "SELECT seq FROM orvane.accounts WHERE owner = current_user FOR NO KEY UPDATE";

constexpr const char* write = R"sql(
INSERT INTO orvane.key_values (key, value, seq)
SELECT change.key, change.value, accounts.seq + change.place
FROM orvane.accounts
CROSS JOIN unnest($1::text[], $2::text[]) WITH ORDINALITY AS change (key, value, place)
WHERE accounts.owner = current_user
ON CONFLICT (owner, key) DO UPDATE SET value = excluded.value, seq = excluded.seq)sql";

/// Fails when the store has become too large.
constexpr const char* count = R"sql(
UPDATE orvane.accounts SET seq = seq + $1, key_count = kept.keys, byte_count = kept.bytes
FROM (
  SELECT count(value), coalesce(sum(octet_length(key) + octet_length(value)), 0)
  FROM orvane.key_values WHERE owner = current_user
) AS kept (keys, bytes)
WHERE owner = current_user)sql";

/// The account, once for each change, or alone. A token counts if it was given before the changes
/// that have just been made, of which there are $4.
constexpr const char* fetchValues = R"sql(
SELECT accounts.epoch, accounts.seq, token.counts, changed.key, changed.value
FROM orvane.accounts
CROSS JOIN LATERAL (
  SELECT $2 = accounts.epoch AND $3 BETWEEN 0 AND accounts.seq - $4
) AS token (counts)
LEFT JOIN orvane.key_values AS changed
  ON changed.owner = accounts.owner AND NOT changed.key = ANY ($1::text[])
  AND CASE WHEN token.counts THEN changed.seq > $3 ELSE changed.value IS NOT NULL END
WHERE accounts.owner = current_user)sql";

}  // namespace

CKResult<PostgreSQLConnection::Statements> exchangeStatements(
    const CloudKeyValueChanges& changes, const std::optional<CKServerChangeToken>& token) {
  std::vector<std::string> keys;
  PostgreSQLValue::OptionalTexts values;
  for (const auto& [key, value] : changes) {
    keys.push_back(key);
    values.emplace_back();
    if (!value) continue;
    auto text = propertyListToJSON(*value);
    if (!text) {
      return tl::unexpected(
          cloudError({CKErrorCode::invalidArguments}, text.error().localizedDescription));
    }
    values.back() = *std::move(text);
  }
  const auto mark = token ? PostgreSQLChangeMark::parse(token->value) : std::nullopt;
  const auto behind = mark.value_or(PostgreSQLChangeMark{});
  const auto made = PostgreSQLValue::integer(static_cast<std::int64_t>(changes.size()));
  PostgreSQLConnection::Statements statements;
  if (!changes.empty()) {
    statements.push_back({lockAccount, {}});
    statements.push_back(
        {write, {PostgreSQLValue::textArray(keys), PostgreSQLValue::textArray(values)}});
    statements.push_back({count, {made}});
  }
  statements.push_back({fetchValues,
                        {PostgreSQLValue::textArray(keys), PostgreSQLValue::text(behind.epoch),
                         PostgreSQLValue::integer(behind.seq), made}});
  return statements;
}

CKResult<CloudKeyValues> exchangedKeyValues(const PostgreSQLResult& result) {
  if (result.rows() == 0) {
    return tl::unexpected(
        cloudError({CKErrorCode::notAuthenticated}, "The user has no account in this database."));
  }
  CloudKeyValues keyValues;
  keyValues.token.value =
      PostgreSQLChangeMark{result.integer(0, 1), std::string(result.text(0, 0))}.text();
  keyValues.isAll = !result.boolean(0, 2);
  const int found = result.isNull(0, 3) ? 0 : result.rows();
  for (int row = 0; row < found; ++row) {
    auto& value = keyValues.changes[std::string(result.text(row, 3))];
    if (result.isNull(row, 4)) continue;
    auto read = propertyListFromJSON(result.text(row, 4));
    if (!read) {
      return tl::unexpected(cloudError({CKErrorCode::internalError},
                                       fmt::format("The cloud has a value that cannot be read: {}",
                                                   read.error().localizedDescription)));
    }
    value = *std::move(read);
  }
  return keyValues;
}

}  // namespace orvane
