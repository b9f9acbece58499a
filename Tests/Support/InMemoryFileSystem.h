#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "Platform/Foundation/FileSystem.h"

namespace orvane::test {

/// Files that exist in memory only, with dates that a test sets and failures that it orders.
class InMemoryFileSystem final : public FileSystem {
 public:
  struct File {
    std::string contents;
    std::optional<FileDate> date;
  };
  /// The operations that can be told to fail.
  enum class Operation { read, replace, createDirectories, rename, lock };

  Expected<std::string> read(const std::filesystem::path& path) override;
  Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                         std::optional<FileDate> modificationDate) override;
  Expected<FileAttributes> attributes(const std::filesystem::path& path) override;
  Expected<void> createDirectories(const std::filesystem::path& path) override;
  Expected<void> rename(const std::filesystem::path& from,
                        const std::filesystem::path& to) override;
  /// A lock that is held already cannot be waited for in one thread; it is an error.
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) override;

  /// Puts a file there, with the folders above it; `second` is its date, since the epoch.
  void put(const std::filesystem::path& path, std::string contents, int second);
  /// Puts a file there that has no modification date.
  void putUndated(const std::filesystem::path& path, std::string contents);

  /// Takes a folder away with everything in it.
  void removeFolder(const std::filesystem::path& path);

  bool has(const std::filesystem::path& path) const { return files.contains(path.string()); }
  const File& file(const std::filesystem::path& path) const { return files.at(path.string()); }

  /// From now on `operation` fails for this path, with the description "ordered failure".
  void failAt(Operation operation, const std::filesystem::path& path);
  void stopFailing() { failures_.clear(); }

  /// The date that a file gets when it is written without one.
  FileDate now{std::chrono::hours(1)};
  std::map<std::string, File> files;

 private:
  bool fails(Operation operation, const std::filesystem::path& path) const;

  std::map<std::string, bool> directories_{{"/", true}};
  std::map<Operation, std::map<std::string, bool>> failures_;
  std::map<std::string, std::weak_ptr<void>> locks_;
};

inline FileDate atSecond(int second) { return FileDate(std::chrono::seconds(second)); }

}  // namespace orvane::test
