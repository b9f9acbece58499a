#include "Linux/SQLite/KeyValueWatch.h"

#include <chrono>
#include <utility>
#include <vector>

namespace orvane {
namespace {

constexpr std::chrono::milliseconds lookInterval{500};

}  // namespace

KeyValueWatch::KeyValueWatch(std::filesystem::path doorbell, Executor& mainQueue, Look look,
                             std::function<void()> changed)
    : doorbell_(std::move(doorbell)),
      mainQueue_(mainQueue),
      look_(std::move(look)),
      changed_(std::move(changed)) {}

void KeyValueWatch::start() {
  folderWatch_.emplace(doorbell_.parent_path(), std::vector{doorbell_.filename().string()},
                       mainQueue_, [this] { tell(); });
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
  const auto version = look_();
  if (version && version != std::exchange(seen_, version)) tell();
}

}  // namespace orvane
