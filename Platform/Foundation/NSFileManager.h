#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Foundation/FileSystem.h"

namespace orvane {

/// Where a user's files are kept on this machine.
struct UserDirectories {
  /// The folder that holds a folder for each application group; absent when the user has no home.
  std::optional<std::filesystem::path> groupContainers;
  /// The document directories in the user domain.
  std::vector<std::filesystem::path> documents;
};

/// Files and the places where they are kept. Blocking; any thread.
class NSFileManager {
 public:
  /// `fileSystem` outlives the file manager.
  NSFileManager(FileSystem& fileSystem, UserDirectories directories);

  /// The folder that the programs of an application group share, made when it is missing. Absent
  /// when it neither exists nor can be made.
  std::optional<std::filesystem::path> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view groupIdentifier);

  /// The document directories of the user, made when they are missing.
  std::vector<std::filesystem::path> documentDirectories();

  Expected<std::string> contents(const std::filesystem::path& path);

  /// Puts a file with exactly these contents at `path`; see `FileSystem::replace`.
  Expected<void> createFile(const std::filesystem::path& path, std::string_view contents);

  bool fileExists(const std::filesystem::path& path);
  Expected<FileAttributes> attributesOfItem(const std::filesystem::path& path);
  Expected<void> createDirectoryWithIntermediateDirectories(const std::filesystem::path& path);
  Expected<void> moveItem(const std::filesystem::path& from, const std::filesystem::path& to);

  /// See `FileSystem::lock`.
  Expected<std::shared_ptr<void>> lock(const std::filesystem::path& path);

  /// Copies a file together with its modification date. Fails when there is a file at `to`.
  Expected<void> copyItem(const std::filesystem::path& from, const std::filesystem::path& to);

  /// Like `copyItem`, but puts the copy in the place of a file at `to`.
  Expected<void> replaceItemWithCopy(const std::filesystem::path& from,
                                     const std::filesystem::path& to);

 private:
  FileSystem& fileSystem_;
  UserDirectories directories_;
};

}  // namespace orvane
