#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane {

/// Tells, on the default main context, that one of a folder's files was put in place, written anew,
/// removed or moved away.
class InotifyWatch {
 public:
  /// A folder that does not exist is not watched, also when it comes into being. Several changes
  /// may be told as one. `changed` must not destroy the watch.
  InotifyWatch(const std::filesystem::path& folder, std::vector<std::string> fileNames,
               std::function<void()> changed);
  InotifyWatch(const InotifyWatch&) = delete;
  InotifyWatch& operator=(const InotifyWatch&) = delete;
  ~InotifyWatch();

  /// False when there was no such folder, or when the system watches no more for this user or this
  /// process. Then nothing is ever told.
  bool isWatching() const { return source_ != 0; }

 private:
  bool takeEvents();
  bool concerns(const char* fileName) const;

  std::vector<std::string> fileNames_;
  std::function<void()> changed_;
  FileDescriptor inotify_;
  unsigned source_ = 0;
};

}  // namespace orvane
