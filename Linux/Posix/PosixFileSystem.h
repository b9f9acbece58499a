#pragma once

#include "Platform/Foundation/FileSystem.h"

namespace orvane {

/// The machine's own files. Files are made with mode 0600 and folders with 0700.
///
/// A file is replaced by way of the file `.NAME.new` in the same folder: locked, written, synced
/// and renamed. Writers of one file wait for each other, and what a killed writer left under that
/// name the next one writes over, so at most one such file is ever left.
class PosixFileSystem final : public FileSystem {
 public:
  Expected<std::string> read(const std::filesystem::path& path) override;
  Expected<void> replace(const std::filesystem::path& path, std::string_view contents,
                         std::optional<FileDate> modificationDate) override;
  Expected<FileAttributes> attributes(const std::filesystem::path& path) override;
  Expected<void> createDirectories(const std::filesystem::path& path) override;
  Expected<void> rename(const std::filesystem::path& from,
                        const std::filesystem::path& to) override;
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path) override;
};

}  // namespace orvane
