#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Foundation/Executor.h"

namespace orvane {

/// Tells, on the main queue, that one of a folder's files was put in place, written anew or
/// removed, and that the folder has come into being or back. For a folder that may go and come; for
/// that it looks twice a second. While the system cannot watch the folder, as when the user has no
/// more watches left, these looks compare the files instead. Several changes may be told as one.
/// Main queue.
class FolderWatch {
 public:
  /// `mainQueue` runs on GLib's default main context.
  FolderWatch(std::filesystem::path folder, std::vector<std::string> fileNames, Executor& mainQueue,
              std::function<void()> changed);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  ~FolderWatch();

 private:
  struct Watching;

  std::shared_ptr<Watching> watching_;
};

}  // namespace orvane
