#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "Linux/Posix/FileDescriptor.h"

namespace orvane {

/// Tells, on the default main context, that a file of a folder was put in place or written anew.
class InotifyWatch {
 public:
  /// `folder` is made when it is missing. Several changes may be told as one.
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
