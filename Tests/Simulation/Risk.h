#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Platform/Foundation/FileSystem.h"
#include "Platform/Foundation/KeyValueDatabase.h"

namespace orvane::test {

/// What cannot be written for a while.
struct DiskFailures {
  bool ofFiles = false;
  bool ofKeysAndValues = false;
};

/// What a process may do to the world around it. Death comes in front of an effect: whatever the
/// process was in the middle of, nothing of the rest happens.
class Risk {
 public:
  /// The failures are the machine's; `kill` is called once, at the death.
  Risk(const DiskFailures& disk, std::function<void()> kill)
      : disk_(disk), kill_(std::move(kill)) {}

  bool isDead() const { return isDead_; }
  bool failsToWriteFiles() const { return disk_.ofFiles; }
  /// How many changes of keys and values were refused.
  std::size_t refused() const { return refused_; }

  /// The process does so many more things, and then dies.
  void dieAfter(std::size_t effects) { effectsLeft_ = effects; }
  void stopDying() { effectsLeft_.reset(); }
  void die() {
    if (!std::exchange(isDead_, true)) kill_();
  }

  /// Whether an effect happens.
  bool mayHappen() {
    if (effectsLeft_ && (*effectsLeft_)-- == 0) die();
    return !isDead_;
  }
  /// Whether something is written.
  bool mayWrite() { return mayHappen() && !disk_.ofFiles; }
  bool mayTransact() {
    const bool may = mayHappen() && !disk_.ofKeysAndValues;
    if (!may) ++refused_;
    return may;
  }

 private:
  const DiskFailures& disk_;
  std::function<void()> kill_;
  bool isDead_ = false;
  std::size_t refused_ = 0;
  std::optional<std::size_t> effectsLeft_;
};

/// Looks at the keys and values before and after each change, as part of it.
class TransactionWatch {
 public:
  using Transaction = KeyValueDatabase::Transaction;

  TransactionWatch() = default;
  TransactionWatch(const TransactionWatch&) = delete;
  TransactionWatch& operator=(const TransactionWatch&) = delete;
  virtual ~TransactionWatch() = default;

  virtual void begins(Transaction& transaction) = 0;
  virtual void ends(Transaction& transaction) = 0;
};

/// Keys and values of a machine as a process at risk has them.
class RiskyDatabase final : public KeyValueDatabase {
 public:
  /// The watch may be absent.
  RiskyDatabase(KeyValueDatabase& database, Risk& risk, TransactionWatch* watch = nullptr)
      : database_(database), risk_(risk), watch_(watch) {}

  Expected<std::optional<PropertyListValue>> value(std::string_view key) override {
    return database_.value(key);
  }
  Expected<std::optional<PropertyListValue>> entry(std::string_view key,
                                                   std::string_view name) override {
    return database_.entry(key, name);
  }
  Expected<void> transact(const std::function<void(Transaction&)>& body) override {
    if (!risk_.mayTransact()) return tl::unexpected(NSError{"test", 13, "The disk is full"});
    if (watch_ == nullptr) return database_.transact(body);
    return database_.transact([&](Transaction& transaction) {
      watch_->begins(transaction);
      body(transaction);
      watch_->ends(transaction);
    });
  }
  Expected<void> synchronize() override { return database_.synchronize(); }
  Expected<ChangeCount> changeCount(std::string_view key) override {
    return database_.changeCount(key);
  }
  Expected<std::uint64_t> foreignVersion() override { return database_.foreignVersion(); }
  void setListener(std::function<void()> changed) override {
    database_.setListener(std::move(changed));
  }

 private:
  KeyValueDatabase& database_;
  Risk& risk_;
  TransactionWatch* watch_;
};

/// Files of a machine as a process at risk has them.
class RiskyFileSystem final : public FileSystem {
 public:
  RiskyFileSystem(FileSystem& files, Risk& risk) : files_(files), risk_(risk) {}

  Expected<std::string> read(const std::filesystem::path& path) override {
    return files_.read(path);
  }
  Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                         std::optional<FileDate> modificationDate) override {
    if (!risk_.mayWrite()) return refusal();
    return files_.replace(path, contents, modificationDate);
  }
  Expected<FileAttributes> attributes(const std::filesystem::path& path) override {
    return files_.attributes(path);
  }
  Expected<void> createDirectories(const std::filesystem::path& path) override {
    return files_.createDirectories(path);
  }
  Expected<void> rename(const std::filesystem::path& from,
                        const std::filesystem::path& to) override {
    if (!risk_.mayWrite()) return refusal();
    return files_.rename(from, to);
  }
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) override {
    return files_.lock(path);
  }

 private:
  static tl::unexpected<NSError> refusal() {
    return tl::unexpected(NSError{NSPOSIXErrorDomain, ENOSPC, "No space left on device"});
  }

  FileSystem& files_;
  Risk& risk_;
};

}  // namespace orvane::test
