#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "Linux/SQLite/KeyValueTables.h"
#include "Linux/SQLite/KeyValueWatch.h"
#include "Platform/Foundation/Executor.h"
#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane {

/// Keys and values in an SQLite file that processes share, beside a doorbell file, "NAME.doorbell"
/// for "NAME.sqlite", that tells them of commits. The files have mode 0600; the folder has to be
/// there. The database is opened by the first operation, and opened anew when another file has
/// taken its place; while its folder is away every operation is an error.
///
/// A process that forks must not use, nor destroy, in the child what the parent has made: SQLite's
/// locks belong to the process that took them. Make a new one in the child.
class SQLiteKeyValueDatabase final : public KeyValueDatabase {
 public:
  /// `mainQueue` runs on GLib's default main context and outlives the database, which is made and
  /// destroyed there.
  SQLiteKeyValueDatabase(const std::filesystem::path& path, Executor& mainQueue);
  ~SQLiteKeyValueDatabase() override;

  /// Opens the database if it is not open. A file that is damaged, of another program or of a newer
  /// version is an error, here and for every operation, and is left as it is.
  Expected<void> open();

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override;
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override;
  /// Text that is not UTF-8 or has a zero byte, as a value or a name, is an error. An exception of
  /// `body` passes through, and nothing has changed.
  Expected<void> transact(const std::function<void(Transaction&)>& body) override;
  Expected<void> synchronize() override;
  Expected<ChangeCount> changeCount(std::string_view key) override;
  Expected<std::uint64_t> foreignVersion() override;
  void setListener(std::function<void()> changed) override;

 private:
  template <typename Operation>
  auto whileLocked(Operation operation) -> decltype(operation(std::declval<KeyValueTables&>()));
  Expected<void> openLocked();
  Expected<std::uint64_t> foreignVersionLocked();
  std::optional<std::uint64_t> look();
  void tellListener();

  std::filesystem::path path_;
  std::filesystem::path doorbell_;
  Executor& mainQueue_;

  std::mutex mutex_;
  std::unique_ptr<KeyValueTables> tables_;  ///< guarded by `mutex_`, as is the next one
  std::uint64_t generation_ = 0;            ///< counts the files that were opened
  std::uint64_t file_ = 0;                  ///< which file it is, wherever it has been

  std::mutex watchMutex_;
  std::shared_ptr<KeyValueWatch> watch_;  ///< guarded by `watchMutex_`
};

}  // namespace orvane
