#include "Linux/Posix/PosixFileSystem.h"

#include <array>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "Linux/Posix/FileDescriptor.h"
#include "Linux/Posix/PosixError.h"

namespace orvane {
namespace {

using std::filesystem::path;

/// A parser that wants some bytes behind the text then need not copy it.
constexpr std::size_t spareCapacity = 64;

tl::unexpected<NSError> failure(std::string_view operation, const path& path) {
  return tl::unexpected(posixError(operation, path));
}

FileDescriptor openFile(const path& path, int flags) {
  return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

FileDate dateOf(const struct stat& status) {
  return FileDate(std::chrono::seconds(status.st_mtim.tv_sec) +
                  std::chrono::nanoseconds(status.st_mtim.tv_nsec));
}

bool setModificationDate(int file, FileDate date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  const timespec modified{.tv_sec = seconds.time_since_epoch().count(),
                          .tv_nsec = (date - seconds).count()};
  const std::array<timespec, 2> times{{{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, modified}};
  return ::futimens(file, times.data()) == 0;
}

bool writeAll(int file, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(file, contents.data(), contents.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool isStillNamed(int file, const path& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(file, &opened) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// Waits for the lock of an open file.
bool lockExclusively(int file) {
  while (::flock(file, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

/// Opens the intermediate file and waits for its lock. The writer that held the lock has renamed
/// the file meanwhile, and then a new one is opened.
Expected<FileDescriptor> openLocked(const path& path) {
  while (true) {
    FileDescriptor file = openFile(path, O_WRONLY | O_CREAT | O_NOFOLLOW);
    if (!file) return failure("create", path);
    if (!lockExclusively(file.get())) return failure("lock", path);
    if (isStillNamed(file.get(), path)) return file;
  }
}

bool syncFolder(const path& folder) {
  const FileDescriptor opened = openFile(folder, O_RDONLY | O_DIRECTORY);
  return opened && ::fsync(opened.get()) == 0;
}

path folderOf(const path& path) { return path.has_parent_path() ? path.parent_path() : "."; }

}  // namespace

Expected<std::string> PosixFileSystem::read(const path& path) {
  // Without O_NONBLOCK a pipe at this path would hold the caller for ever.
  const FileDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK);
  if (!file) return failure("open", path);
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return failure("examine", path);
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return failure("read", path);
  }
  std::string contents;
  contents.reserve(static_cast<std::size_t>(status.st_size) + spareCapacity);
  contents.resize(static_cast<std::size_t>(status.st_size));
  std::size_t length = 0;
  while (length < contents.size()) {
    const ssize_t count = ::read(file.get(), contents.data() + length, contents.size() - length);
    if (count < 0 && errno != EINTR) return failure("read", path);
    if (count == 0) break;
    if (count > 0) length += static_cast<std::size_t>(count);
  }
  contents.resize(length);
  return contents;
}

Expected<void> PosixFileSystem::replace(const path& path, std::string_view contents,
                                        std::optional<FileDate> modificationDate) {
  const auto folder = folderOf(path);
  const auto intermediate = folder / fmt::format(".{}.new", path.filename().string());
  const auto file = openLocked(intermediate);
  if (!file) return tl::unexpected(file.error());
  const auto fail = [&](std::string_view operation) {
    auto error = failure(operation, path);
    ::unlink(intermediate.c_str());
    return error;
  };
  if (::ftruncate(file->get(), 0) != 0 || !writeAll(file->get(), contents)) return fail("write");
  if (modificationDate && !setModificationDate(file->get(), *modificationDate)) {
    return fail("date");
  }
  if (::fsync(file->get()) != 0) return fail("write");
  if (std::rename(intermediate.c_str(), path.c_str()) != 0) return fail("replace");
  if (!syncFolder(folder)) return failure("sync the folder of", path);
  return {};
}

Expected<FileAttributes> PosixFileSystem::attributes(const path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return failure("examine", path);
  return FileAttributes{.isDirectory = S_ISDIR(status.st_mode),
                        .size = static_cast<std::uint64_t>(status.st_size),
                        .modificationDate = dateOf(status)};
}

Expected<void> PosixFileSystem::createDirectories(const path& path) {
  if (::mkdir(path.c_str(), S_IRWXU) == 0) return {};
  if (errno == ENOENT && path.has_relative_path()) {
    if (auto above = createDirectories(folderOf(path)); !above) return above;
    if (::mkdir(path.c_str(), S_IRWXU) == 0) return {};
  }
  const int reason = errno;
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return {};
  errno = reason;
  return failure("create the folder", path);
}

Expected<void> PosixFileSystem::rename(const path& from, const path& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) return failure("rename", from);
  if (!syncFolder(folderOf(to))) return failure("sync the folder of", to);
  return {};
}

Expected<std::shared_ptr<void>> PosixFileSystem::lock(const path& path) {
  // Whoever watches the file would take its closing for a change if it were open for writing.
  auto file = std::make_shared<FileDescriptor>(openFile(path, O_RDONLY | O_CREAT));
  if (!*file) return failure("open", path);
  if (!lockExclusively(file->get())) return failure("lock", path);
  return file;
}

}  // namespace orvane
