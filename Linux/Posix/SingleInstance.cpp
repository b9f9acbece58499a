#include "Linux/Posix/SingleInstance.h"

#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "Linux/Posix/PosixError.h"

namespace orvane {
namespace {

constexpr auto interval = std::chrono::milliseconds(20);
/// How often a serving holder is looked at before it is believed. A child that was just starting
/// another program when the holder was killed keeps the locks a moment longer.
constexpr int looks = 10;

/// What is locked: the bytes need not exist. The system frees them when their holder dies.
enum Byte : off_t {
  right = 0,
  service = 1,
};

/// Unlike flock's, these locks can be asked for without being taken.
struct flock lockOf(Byte byte, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

FileDescriptor open(const std::filesystem::path& file, int flags) {
  return FileDescriptor(::open(file.c_str(), flags | O_CLOEXEC, S_IRUSR | S_IWUSR));
}

bool set(int file, Byte byte, short type) {
  auto wanted = lockOf(byte, type);
  return ::fcntl(file, F_OFD_SETLK, &wanted) == 0;
}

bool isLockedByOther(int file, Byte byte) {
  auto asked = lockOf(byte, F_WRLCK);
  return ::fcntl(file, F_OFD_GETLK, &asked) == 0 && asked.l_type != F_UNLCK;
}

}  // namespace

Expected<std::optional<SingleInstance>> SingleInstance::acquire(const std::filesystem::path& file,
                                                                Role role) {
  FileDescriptor opened = open(file, O_RDWR | O_CREAT);
  if (!opened) return tl::unexpected(posixError("open", file));
  int timesServing = 0;
  while (!set(opened.get(), Byte::right, F_WRLCK)) {
    const bool isHeldByOther = errno == EAGAIN || errno == EACCES;
    if (!isHeldByOther) return tl::unexpected(posixError("lock", file));
    timesServing = isLockedByOther(opened.get(), Byte::service) ? timesServing + 1 : 0;
    if (timesServing == looks) return std::optional<SingleInstance>();
    // A holder that is about to serve is as silent as one that passes, so both are asked again.
    std::this_thread::sleep_for(interval);
  }
  if (role == Role::serving && !set(opened.get(), Byte::service, F_WRLCK)) {
    return tl::unexpected(posixError("lock", file));
  }
  return std::optional(SingleInstance(std::move(opened)));
}

bool SingleInstance::isHeld(const std::filesystem::path& file) {
  const FileDescriptor opened = open(file, O_RDWR);
  return opened && isLockedByOther(opened.get(), Byte::service);
}

void SingleInstance::announceEnd() { static_cast<void>(set(file_.get(), Byte::service, F_UNLCK)); }

bool SingleInstance::isFor(const std::filesystem::path& file) const {
  struct stat held {};
  struct stat named {};
  return ::fstat(file_.get(), &held) == 0 && ::stat(file.c_str(), &named) == 0 &&
         held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace orvane
