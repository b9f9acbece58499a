#include "Linux/SQLite/KeyValueWatch.h"

#include <chrono>

#include <sys/stat.h>

namespace orvane {

constexpr std::chrono::milliseconds lookInterval{500};

KeyValueWatch::KeyValueWatch(std::filesystem::path doorbell, Executor& mainQueue, Look look,
                             std::function<void()> changed)
    : doorbell_(std::move(doorbell)),
      mainQueue_(mainQueue),
      look_(std::move(look)),
      changed_(std::move(changed)) {}

void KeyValueWatch::start() {
  watchFolder();
  seen_ = look_();
  lookLater();
}

void KeyValueWatch::tell() {
  if (isTold_.exchange(true)) return;
  mainQueue_.post([weak = weak_from_this()] {
    const auto watch = weak.lock();
    if (!watch) return;
    // What is committed from now on may be missed by this call, so it is told again.
    watch->isTold_ = false;
    watch->changed_();
  });
}

void KeyValueWatch::lookLater() {
  mainQueue_.postAfter(lookInterval, [weak = weak_from_this()] {
    const auto watch = weak.lock();
    if (!watch) return;
    watch->lookForChange();
    watch->lookLater();
  });
}

void KeyValueWatch::lookForChange() {
  watchFolder();
  const auto version = look_();
  if (version && version != std::exchange(seen_, version)) tell();
}

/// The system watches a folder and not its name, so another folder of that name is watched anew.
void KeyValueWatch::watchFolder() {
  const auto path = doorbell_.parent_path();
  struct stat status {};
  std::optional<Identity> found;
  if (::stat(path.c_str(), &status) == 0) found = Identity(status.st_dev, status.st_ino);
  if (found == folder_) return;
  folder_ = found;
  inotify_.reset();
  if (found) inotify_.emplace(path, doorbell_.filename().string(), [this] { tell(); });
}

}  // namespace orvane
