#include "Linux/SQLite/KeyValueTables.h"

#include <utility>

#include "Linux/SQLite/EncodedEntries.h"
#include "Linux/SQLite/PropertyListEncoding.h"

namespace orvane {

KeyValueTables::KeyValueTables(SQLiteConnection connection)
    : connection_(std::move(connection)),
      begin_(connection_.handle(), "BEGIN IMMEDIATE"),
      commit_(connection_.handle(), "COMMIT"),
      rollBack_(connection_.handle(), "ROLLBACK"),
      dataVersion_(connection_.handle(), "PRAGMA data_version"),
      value_(connection_.handle(), "SELECT id, kind, value FROM key WHERE key = ?"),
      entry_(connection_.handle(),
             "SELECT entry.value FROM key JOIN entry ON entry.key = key.id "
             "WHERE key.key = ? AND entry.name = ?"),
      entries_(connection_.handle(), "SELECT name, value FROM entry WHERE key = ? ORDER BY name"),
      entryNames_(connection_.handle(), "SELECT name FROM entry WHERE key = ?"),
      changeCount_(connection_.handle(), "SELECT count FROM key WHERE key = ?"),
      keys_(connection_.handle(), "SELECT key FROM key WHERE kind <> 0"),
      find_(connection_.handle(), "SELECT id, kind, count FROM key WHERE key = ?"),
      holds_(connection_.handle(), "SELECT value IS ?2 FROM key WHERE id = ?1"),
      add_(connection_.handle(), "INSERT INTO key (key, count, kind) VALUES (?, 1, 0)"),
      count_(connection_.handle(), "UPDATE key SET count = count + 1 WHERE id = ?"),
      set_(connection_.handle(), "UPDATE key SET kind = ?2, value = ?3 WHERE id = ?1"),
      setEntry_(connection_.handle(),
                "INSERT INTO entry (key, name, value) VALUES (?, ?, ?) ON CONFLICT DO UPDATE "
                "SET value = excluded.value WHERE value <> excluded.value"),
      removeEntry_(connection_.handle(), "DELETE FROM entry WHERE key = ? AND name = ?"),
      removeEntries_(connection_.handle(), "DELETE FROM entry WHERE key = ?") {}

Expected<std::unique_ptr<KeyValueTables>> KeyValueTables::open(
    const std::filesystem::path& path, const std::filesystem::path& doorbell) {
  auto connection = openKeyValueFile(path, doorbell);
  if (!connection) return tl::unexpected(connection.error());
  std::unique_ptr<KeyValueTables> tables(new KeyValueTables(std::move(*connection)));
  if (!tables->isPrepared()) {
    // The last attempt left no error if only an earlier one failed; one more tells.
    const auto tried = tables->connection_.execute(
        "SELECT id, key, count, kind, value FROM key LIMIT 0;"
        "SELECT key, name, value FROM entry LIMIT 0");
    return tl::unexpected(tried ? tables->connection_.error("use") : tried.error());
  }
  return tables;
}

bool KeyValueTables::isPrepared() const {
  for (const auto* statement :
       {&begin_, &commit_, &rollBack_, &dataVersion_, &value_, &entry_, &entries_, &entryNames_,
        &changeCount_, &keys_, &find_, &holds_, &add_, &count_, &set_, &setEntry_, &removeEntry_,
        &removeEntries_}) {
    if (!*statement) return false;
  }
  return true;
}

tl::unexpected<NSError> KeyValueTables::failure(std::string_view operation) const {
  return tl::unexpected(connection_.error(operation));
}

template <typename... Parameters>
Expected<void> KeyValueTables::write(const SQLiteStatement& statement,
                                     const Parameters&... parameters) {
  SQLiteRun run(statement, parameters...);
  if (!run.finish()) return failure("write");
  return {};
}

template <typename... Parameters>
Expected<bool> KeyValueTables::writeAndCompare(const SQLiteStatement& statement,
                                               const Parameters&... parameters) {
  if (const auto result = write(statement, parameters...); !result) {
    return tl::unexpected(result.error());
  }
  return sqlite3_changes(connection_.handle()) > 0;
}

Expected<KeyValueTables::Value> KeyValueTables::value(std::string_view key) {
  SQLiteRun run(value_, key);
  if (!run.next()) return run.failed() ? Expected<Value>(failure("read")) : std::nullopt;
  switch (static_cast<KeyKind>(run.integer(1))) {
    case KeyKind::Absent:
      return std::nullopt;
    case KeyKind::Value:
      return decode(run.bytes(2));
    case KeyKind::Dictionary:
      // While this run lasts, the entries are those of the same moment.
      return dictionary(run.integer(0));
  }
  return std::nullopt;
}

Expected<PropertyListValue> KeyValueTables::dictionary(std::int64_t id) {
  PropertyListValue::Dictionary dictionary;
  SQLiteRun run(entries_, id);
  while (run.next()) {
    auto value = decode(run.bytes(1));
    if (value) dictionary.insert_or_assign(std::string(run.text(0)), std::move(*value));
  }
  if (run.failed()) return failure("read");
  return dictionary;
}

Expected<KeyValueTables::Value> KeyValueTables::entry(std::string_view key, std::string_view name) {
  SQLiteRun run(entry_, key, name);
  if (run.next()) return decode(run.bytes(0));
  if (run.failed()) return failure("read");
  return std::nullopt;
}

Expected<std::uint64_t> KeyValueTables::changeCount(std::string_view key) {
  SQLiteRun run(changeCount_, key);
  if (run.next()) return static_cast<std::uint64_t>(run.integer(0));
  if (run.failed()) return failure("read");
  return 0;
}

Expected<std::uint64_t> KeyValueTables::dataVersion() {
  SQLiteRun run(dataVersion_);
  if (!run.next()) return failure("read");
  return static_cast<std::uint64_t>(run.integer(0));
}

Expected<void> KeyValueTables::begin() { return write(begin_); }

Expected<void> KeyValueTables::commit() { return write(commit_); }

void KeyValueTables::rollBack() {
  // After some errors SQLite has done it already.
  if (connection_.isInTransaction()) static_cast<void>(write(rollBack_));
}

Expected<std::optional<KeyValueTables::Key>> KeyValueTables::find(std::string_view key) {
  SQLiteRun run(find_, key);
  if (run.next()) {
    return Key{run.integer(0), static_cast<KeyKind>(run.integer(1)), run.integer(2)};
  }
  if (run.failed()) return failure("read");
  return std::nullopt;
}

Expected<bool> KeyValueTables::holds(const Key& key, const Data& value) {
  SQLiteRun run(holds_, key.id, value);
  if (!run.next()) return failure("read");
  return run.integer(0) != 0;
}

Expected<KeyValueTables::Key> KeyValueTables::add(std::string_view key) {
  if (const auto result = write(add_, key); !result) return tl::unexpected(result.error());
  return Key{sqlite3_last_insert_rowid(connection_.handle()), KeyKind::Absent, 1};
}

Expected<void> KeyValueTables::count(const Key& key) { return write(count_, key.id); }

Expected<void> KeyValueTables::set(const Key& key, KeyKind kind, const std::optional<Data>& value) {
  const auto number = static_cast<std::int64_t>(kind);
  return value ? write(set_, key.id, number, *value) : write(set_, key.id, number, nullptr);
}

Expected<bool> KeyValueTables::setEntry(const Key& key, std::string_view name, const Data& value) {
  return writeAndCompare(setEntry_, key.id, name, value);
}

Expected<bool> KeyValueTables::removeEntry(const Key& key, std::string_view name) {
  return writeAndCompare(removeEntry_, key.id, name);
}

Expected<void> KeyValueTables::removeEntries(const Key& key) {
  return write(removeEntries_, key.id);
}

Expected<std::vector<std::string>> KeyValueTables::keys() {
  std::vector<std::string> keys;
  SQLiteRun run(keys_);
  while (run.next()) keys.emplace_back(run.text(0));
  if (run.failed()) return failure("read");
  return keys;
}

Expected<std::vector<std::string>> KeyValueTables::entryNames(const Key& key) {
  std::vector<std::string> names;
  SQLiteRun run(entryNames_, key.id);
  while (run.next()) names.emplace_back(run.text(0));
  if (run.failed()) return failure("read");
  return names;
}

Expected<KeyValueTables::Entries> KeyValueTables::entries(const Key& key) {
  auto entries = std::make_shared<EncodedEntries>();
  SQLiteRun run(entries_, key.id);
  while (run.next()) entries->add(run.text(0), run.bytes(1));
  if (run.failed()) return failure("read");
  return entries;
}

Expected<KeyValueTables::Entries> KeyValueTables::committedEntries(const Key& key) {
  auto& read = read_[key.id];
  if (auto kept = read.entries.lock(); kept && read.count == key.count) return kept;
  auto entries = this->entries(key);
  if (entries) read = {key.count, *entries};
  return entries;
}

}  // namespace orvane
