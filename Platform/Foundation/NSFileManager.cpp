#include "Platform/Foundation/NSFileManager.h"

#include <cerrno>
#include <utility>

namespace orvane {

NSFileManager::NSFileManager(FileSystem& fileSystem, UserDirectories directories)
    : fileSystem_(fileSystem), directories_(std::move(directories)) {}

std::optional<std::filesystem::path>
NSFileManager::containerURLForSecurityApplicationGroupIdentifier(std::string_view groupIdentifier) {
  if (!directories_.groupContainers) return std::nullopt;
  auto container = *directories_.groupContainers / groupIdentifier;
  if (!fileSystem_.createDirectories(container)) return std::nullopt;
  return container;
}

std::vector<std::filesystem::path> NSFileManager::documentDirectories() {
  for (const auto& directory : directories_.documents) {
    // A folder that cannot be made holds no file either, and reading from it says so.
    static_cast<void>(fileSystem_.createDirectories(directory));
  }
  return directories_.documents;
}

Expected<std::string> NSFileManager::contents(const std::filesystem::path& path) {
  return fileSystem_.read(path);
}

Expected<void> NSFileManager::createFile(const std::filesystem::path& path,
                                         std::string_view contents) {
  return fileSystem_.replace(path, contents, std::nullopt);
}

bool NSFileManager::fileExists(const std::filesystem::path& path) {
  return fileSystem_.attributes(path).has_value();
}

Expected<FileAttributes> NSFileManager::attributesOfItem(const std::filesystem::path& path) {
  return fileSystem_.attributes(path);
}

Expected<void> NSFileManager::createDirectoryWithIntermediateDirectories(
    const std::filesystem::path& path) {
  return fileSystem_.createDirectories(path);
}

Expected<void> NSFileManager::moveItem(const std::filesystem::path& from,
                                       const std::filesystem::path& to) {
  return fileSystem_.rename(from, to);
}

Expected<std::shared_ptr<void>> NSFileManager::lock(const std::filesystem::path& path) {
  return fileSystem_.lock(path);
}

Expected<void> NSFileManager::copyItem(const std::filesystem::path& from,
                                       const std::filesystem::path& to) {
  if (fileExists(to)) {
    return tl::unexpected(
        NSError{NSPOSIXErrorDomain, EEXIST, "There is already a file at '" + to.string() + "'."});
  }
  return replaceItemWithCopy(from, to);
}

Expected<void> NSFileManager::replaceItemWithCopy(const std::filesystem::path& from,
                                                  const std::filesystem::path& to) {
  const auto attributes = fileSystem_.attributes(from);
  if (!attributes) return tl::unexpected(attributes.error());
  const auto contents = fileSystem_.read(from);
  if (!contents) return tl::unexpected(contents.error());
  return fileSystem_.replace(to, *contents, attributes->modificationDate);
}

}  // namespace orvane
