#include "Linux/GLib/FolderWatch.h"

#include <chrono>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "Linux/GLib/InotifyWatch.h"
#include "Linux/Posix/FileDescriptor.h"

namespace orvane {
namespace {

constexpr std::chrono::milliseconds lookInterval{500};

/// Empty when there is no such folder.
FileDescriptor open(const std::filesystem::path& folder) {
  return FileDescriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

bool isNamed(const FileDescriptor& folder, const std::filesystem::path& path) {
  struct stat opened {};
  struct stat named {};
  return folder && ::fstat(folder.get(), &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// What tells a file from the one that it was before a change.
struct FileState {
  bool exists = false;
  ino_t number = 0;
  off_t size = 0;
  // When its content, its name or its attributes last changed, which no program can set.
  time_t seconds = 0;
  long nanoseconds = 0;

  friend bool operator==(const FileState&, const FileState&) = default;
};

FileState stateOf(const FileDescriptor& folder, const std::string& name) {
  struct stat status {};
  if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return {};
  return {.exists = true,
          .number = status.st_ino,
          .size = status.st_size,
          .seconds = status.st_ctim.tv_sec,
          .nanoseconds = status.st_ctim.tv_nsec};
}

}  // namespace

struct FolderWatch::Watching {
  std::filesystem::path folder;
  std::vector<std::string> fileNames;
  Executor& mainQueue;
  std::function<void()> changed;
  /// Kept open, so that no other folder gets its number when it is removed.
  FileDescriptor watched;
  std::unique_ptr<InotifyWatch> watch;
  /// The files as of the last look, while there is no watch.
  std::vector<FileState> states;

  /// True when something has changed that the watch does not tell.
  bool look() {
    const bool isAnother = openAnew();
    if (!watched || (watch && watch->isWatching())) return isAnother;
    // What changes from now on the watch tells, and what changed before is told here.
    watch = std::make_unique<InotifyWatch>(folder, fileNames, changed);
    std::vector<FileState> found;
    for (const auto& name : fileNames) found.push_back(stateOf(watched, name));
    return found != std::exchange(states, found) || isAnother;
  }

  /// The system watches a folder and not its name, so another folder of that name is watched anew.
  /// True when there is another one.
  bool openAnew() {
    if (isNamed(watched, folder)) return false;
    watch.reset();
    watched = open(folder);
    return static_cast<bool>(watched);
  }

  static void lookLater(const std::shared_ptr<Watching>& watching) {
    watching->mainQueue.postAfter(lookInterval, [weak = std::weak_ptr(watching)] {
      const auto self = weak.lock();
      if (!self) return;
      lookLater(self);
      if (self->look()) self->changed();
    });
  }
};

FolderWatch::FolderWatch(std::filesystem::path folder, std::vector<std::string> fileNames,
                         Executor& mainQueue, std::function<void()> changed)
    : watching_(std::make_shared<Watching>(Watching{std::move(folder),
                                                    std::move(fileNames),
                                                    mainQueue,
                                                    std::move(changed),
                                                    FileDescriptor(),
                                                    nullptr,
                                                    {}})) {
  watching_->look();
  Watching::lookLater(watching_);
}

FolderWatch::~FolderWatch() = default;

}  // namespace orvane
