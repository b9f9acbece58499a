#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Foundation/NSError.h"

namespace orvane {

using FileDate = std::chrono::sys_time<std::chrono::nanoseconds>;

struct FileAttributes {
  bool isDirectory = false;
  /// In bytes.
  std::uint64_t size = 0;
  std::optional<FileDate> modificationDate = std::nullopt;
};

/// Files as the machine keeps them. Every operation blocks and may be called on any thread; errors
/// have the domain `NSPOSIXErrorDomain`.
class FileSystem {
 public:
  FileSystem() = default;
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;
  virtual ~FileSystem() = default;

  /// The whole content of a regular file.
  virtual Expected<std::string> read(const std::filesystem::path& path) = 0;

  /// Puts a file with exactly these contents at `path`, with the given modification date or else
  /// the current one. Whoever reads, and whatever interrupts the call, finds the old file or the
  /// new one. After success the new one survives a power loss.
  virtual Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                                 std::optional<FileDate> modificationDate) = 0;

  virtual Expected<FileAttributes> attributes(const std::filesystem::path& path) = 0;

  /// Makes the folder and those above it that are missing. It is no error if it is there.
  virtual Expected<void> createDirectories(const std::filesystem::path& path) = 0;

  /// Renames a file or a folder; a file at the new name is replaced.
  virtual Expected<void> rename(const std::filesystem::path& from,
                                const std::filesystem::path& to) = 0;

  /// Waits until nobody else, no other process and no other thread, holds the lock of that name;
  /// then holds it until the result is destroyed or the process ends. `path` names a file that is
  /// made when it is missing and has no other use.
  virtual Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) = 0;
};

}  // namespace orvane
