#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "Linux/GLib/FolderWatch.h"
#include "Platform/Foundation/Executor.h"

namespace orvane {

/// Calls a listener on the main queue after commits: when the doorbell is rung, and when a look
/// that it takes twice a second finds another version, for a writer may die between its commit and
/// the bell, and the bell's folder may go and come back. Main queue, unless a method says
/// otherwise.
class KeyValueWatch : public std::enable_shared_from_this<KeyValueWatch> {
 public:
  /// The version of the database; nothing when it cannot be told now.
  using Look = std::function<std::optional<std::uint64_t>()>;

  KeyValueWatch(std::filesystem::path doorbell, Executor& mainQueue, Look look,
                std::function<void()> changed);

  void start();

  /// Has the listener called soon, once however often this is called until then. Any thread, while
  /// somebody keeps the watch.
  void tell();

 private:
  void lookLater();
  void lookForChange();

  std::filesystem::path doorbell_;
  Executor& mainQueue_;
  Look look_;
  std::function<void()> changed_;
  std::atomic<bool> isTold_ = false;
  std::optional<std::uint64_t> seen_;
  std::optional<FolderWatch> folderWatch_;
};

}  // namespace orvane
