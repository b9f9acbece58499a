#include "Linux/SQLite/SQLiteKeyValueDatabase.h"

#include <utility>

#include <fcntl.h>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/Posix/PosixError.h"
#include "Linux/SQLite/Doorbell.h"
#include "Linux/SQLite/KeyValueTransaction.h"

namespace orvane {
namespace {

Expected<void> sync(const std::filesystem::path& path) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) return tl::unexpected(posixError("open", path));
  if (::fsync(file.get()) != 0) return tl::unexpected(posixError("sync", path));
  return {};
}

}  // namespace

SQLiteKeyValueDatabase::SQLiteKeyValueDatabase(const std::filesystem::path& path,
                                               Executor& mainQueue)
    : path_(std::filesystem::absolute(path)),
      doorbell_(std::filesystem::path(path_).replace_extension("doorbell")),
      mainQueue_(mainQueue) {}

SQLiteKeyValueDatabase::~SQLiteKeyValueDatabase() = default;

Expected<void> SQLiteKeyValueDatabase::open() {
  const std::lock_guard lock(mutex_);
  return openLocked();
}

Expected<void> SQLiteKeyValueDatabase::openLocked() {
  if (tables_ && tables_->connection().isInPlace()) return {};
  tables_.reset();
  auto opened = KeyValueTables::open(path_, doorbell_);
  if (!opened) return tl::unexpected(opened.error());
  const auto file = (*opened)->connection().integer("SELECT id FROM file");
  if (!file) return tl::unexpected(file.error());
  tables_ = std::move(*opened);
  file_ = static_cast<std::uint64_t>(*file);
  ++generation_;
  return {};
}

template <typename Operation>
auto SQLiteKeyValueDatabase::whileLocked(Operation operation)
    -> decltype(operation(std::declval<KeyValueTables&>())) {
  const std::lock_guard lock(mutex_);
  if (const auto opened = openLocked(); !opened) return tl::unexpected(opened.error());
  return operation(*tables_);
}

Expected<std::optional<PropertyListValue>> SQLiteKeyValueDatabase::value(std::string_view key) {
  return whileLocked([&](KeyValueTables& tables) { return tables.value(key); });
}

Expected<std::optional<PropertyListValue>> SQLiteKeyValueDatabase::entry(std::string_view key,
                                                                         std::string_view name) {
  return whileLocked([&](KeyValueTables& tables) { return tables.entry(key, name); });
}

Expected<KeyValueDatabase::ChangeCount> SQLiteKeyValueDatabase::changeCount(std::string_view key) {
  return whileLocked([&](KeyValueTables& tables) {
    return tables.changeCount(key).map(
        [this](std::uint64_t count) { return ChangeCount{.file = file_, .count = count}; });
  });
}

Expected<void> SQLiteKeyValueDatabase::transact(const std::function<void(Transaction&)>& body) {
  const auto changed = whileLocked([&](KeyValueTables& tables) -> Expected<bool> {
    if (const auto begun = tables.begin(); !begun) return tl::unexpected(begun.error());
    KeyValueTransaction transaction(tables);
    body(transaction);
    return transaction.commit();
  });
  if (!changed) return tl::unexpected(changed.error());
  if (!*changed) return {};
  ringDoorbell(doorbell_);
  tellListener();
  return {};
}

/// A commit is in the log when it returns, but perhaps in the system's memory only. Nobody holds
/// locks on the log itself, so opening and closing it here loses none.
Expected<void> SQLiteKeyValueDatabase::synchronize() {
  if (auto opened = open(); !opened) return opened;
  auto log = path_;
  log += "-wal";
  if (auto result = sync(log); !result) return result;
  return sync(path_.parent_path());
}

Expected<std::uint64_t> SQLiteKeyValueDatabase::foreignVersion() {
  const std::lock_guard lock(mutex_);
  return foreignVersionLocked();
}

Expected<std::uint64_t> SQLiteKeyValueDatabase::foreignVersionLocked() {
  if (const auto opened = openLocked(); !opened) return tl::unexpected(opened.error());
  constexpr unsigned bitsOfDataVersion = 32;
  return tables_->dataVersion().map(
      [&](std::uint64_t version) { return (generation_ << bitsOfDataVersion) | version; });
}

void SQLiteKeyValueDatabase::setListener(std::function<void()> changed) {
  std::shared_ptr<KeyValueWatch> watch;
  if (changed) {
    watch = std::make_shared<KeyValueWatch>(
        doorbell_, mainQueue_, [this] { return look(); }, std::move(changed));
    watch->start();
  }
  // The earlier one is destroyed once the mutex is released.
  const std::lock_guard lock(watchMutex_);
  watch_.swap(watch);
}

/// For the main queue, which does not wait here for a long transaction of another thread.
std::optional<std::uint64_t> SQLiteKeyValueDatabase::look() {
  const std::unique_lock lock(mutex_, std::try_to_lock);
  if (!lock) return std::nullopt;
  const auto version = foreignVersionLocked();
  return version ? std::optional(*version) : std::nullopt;
}

/// The bell may fail, and the version tells nothing of own commits. Posts while the watch is
/// locked, so that it ends on the main queue alone.
void SQLiteKeyValueDatabase::tellListener() {
  const std::lock_guard lock(watchMutex_);
  if (watch_) watch_->tell();
}

}  // namespace orvane
