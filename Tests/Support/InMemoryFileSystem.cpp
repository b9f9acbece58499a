#include "Tests/Support/InMemoryFileSystem.h"

#include <cerrno>
#include <utility>

namespace orvane::test {
namespace {

tl::unexpected<NSError> failure(int code, std::string description) {
  return tl::unexpected(NSError{NSPOSIXErrorDomain, code, std::move(description)});
}

tl::unexpected<NSError> orderedFailure() { return failure(EIO, "ordered failure"); }

}  // namespace

Expected<std::string> InMemoryFileSystem::read(const std::filesystem::path& path) {
  if (fails(Operation::read, path)) return orderedFailure();
  const auto found = files.find(path.string());
  if (found == files.end()) return failure(ENOENT, "no such file: " + path.string());
  return found->second.contents;
}

Expected<void> InMemoryFileSystem::replace(const std::filesystem::path& path,
                                           std::string_view contents,
                                           std::optional<FileDate> modificationDate) {
  if (fails(Operation::replace, path)) return orderedFailure();
  if (!directories_.contains(path.parent_path().string())) {
    return failure(ENOENT, "no such folder: " + path.parent_path().string());
  }
  files[path.string()] = {std::string(contents), modificationDate.value_or(now)};
  return {};
}

Expected<FileAttributes> InMemoryFileSystem::attributes(const std::filesystem::path& path) {
  if (directories_.contains(path.string())) return FileAttributes{.isDirectory = true};
  const auto found = files.find(path.string());
  if (found == files.end()) return failure(ENOENT, "no such file: " + path.string());
  return FileAttributes{.isDirectory = false,
                        .size = found->second.contents.size(),
                        .modificationDate = found->second.date};
}

Expected<void> InMemoryFileSystem::createDirectories(const std::filesystem::path& path) {
  if (fails(Operation::createDirectories, path)) return orderedFailure();
  for (auto folder = path; folder != folder.parent_path(); folder = folder.parent_path()) {
    directories_[folder.string()] = true;
  }
  return {};
}

Expected<void> InMemoryFileSystem::rename(const std::filesystem::path& from,
                                          const std::filesystem::path& to) {
  if (fails(Operation::rename, from)) return orderedFailure();
  auto moved = files.extract(from.string());
  if (moved.empty()) return failure(ENOENT, "no such file: " + from.string());
  files.erase(to.string());
  moved.key() = to.string();
  files.insert(std::move(moved));
  return {};
}

Expected<std::shared_ptr<void>> InMemoryFileSystem::lock(const std::filesystem::path& path) {
  if (fails(Operation::lock, path)) return orderedFailure();
  if (!directories_.contains(path.parent_path().string())) {
    return failure(ENOENT, "no such folder: " + path.parent_path().string());
  }
  auto& known = locks_[path.string()];
  if (!known.expired()) return failure(EDEADLK, "held already: " + path.string());
  std::shared_ptr<void> lock = std::make_shared<char>();
  known = lock;
  return lock;
}

void InMemoryFileSystem::put(const std::filesystem::path& path, std::string contents, int second) {
  static_cast<void>(createDirectories(path.parent_path()));
  files[path.string()] = {std::move(contents), atSecond(second)};
}

void InMemoryFileSystem::putUndated(const std::filesystem::path& path, std::string contents) {
  put(path, std::move(contents), 0);
  files[path.string()].date.reset();
}

void InMemoryFileSystem::removeFolder(const std::filesystem::path& path) {
  const auto isInside = [within = path.string() + "/"](const auto& entry) {
    return entry.first.starts_with(within);
  };
  std::erase_if(files, isInside);
  std::erase_if(directories_, isInside);
  directories_.erase(path.string());
}

void InMemoryFileSystem::failAt(Operation operation, const std::filesystem::path& path) {
  failures_[operation][path.string()] = true;
}

bool InMemoryFileSystem::fails(Operation operation, const std::filesystem::path& path) const {
  const auto ordered = failures_.find(operation);
  return ordered != failures_.end() && ordered->second.contains(path.string());
}

}  // namespace orvane::test
