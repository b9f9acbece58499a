#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane {

/// Tells, on the default main context, that a file of a folder was put in place or written anew.
class InotifyWatch {
 public:
  /// A folder that does not exist is not watched, also when it comes into being. Several changes
  /// may be told as one. `changed` must not destroy the watch.
  InotifyWatch(const std::filesystem::path& folder, std::string fileName,
               std::function<void()> changed);
  InotifyWatch(const InotifyWatch&) = delete;
  InotifyWatch& operator=(const InotifyWatch&) = delete;
  ~InotifyWatch();

 private:
  bool takeEvents();

  std::string fileName_;
  std::function<void()> changed_;
  FileDescriptor inotify_;
  unsigned source_ = 0;
};

}  // namespace orvane
