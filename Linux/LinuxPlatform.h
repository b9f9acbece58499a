#pragma once

#include "Linux/GLib/SystemLog.h"
#include "Linux/GLib/URLLoader.h"
#include "Linux/Posix/DescriptorOutput.h"
#include "Linux/Posix/PosixFileSystem.h"
#include "Linux/Posix/XDGDirectories.h"
#include "Platform/Platform.h"

namespace orvane {

/// The services of this machine, for one process.
class LinuxPlatform {
 public:
  /// The product's diagnostic lines go to `standardOutput`, an open file that stays open.
  explicit LinuxPlatform(int standardOutput);

  Platform& platform() { return platform_; }
  const XDGDirectories& directories() const { return directories_; }

 private:
  XDGDirectories directories_;
  PosixFileSystem fileSystem_;
  NSFileManager fileManager_;
  NSBundle mainBundle_;
  NSNotificationCenter notificationCenter_;
  URLLoader urlLoader_;
  UUIDGenerator makeUUID_;
  DescriptorOutput standardOutput_;
  SystemLog systemLog_;
  Platform platform_;
};

}  // namespace orvane
