#pragma once

#include <string>

namespace orvane {

/// The release of the operating system; what it does not say is 0.
struct NSOperatingSystemVersion {
  int majorVersion = 0;
  int minorVersion = 0;
  int patchVersion = 0;

  friend bool operator==(const NSOperatingSystemVersion&,
                         const NSOperatingSystemVersion&) = default;
};

/// The machine that a process runs on.
struct NSProcessInfo {
  /// As its users know it.
  std::string localizedHostName;
  NSOperatingSystemVersion operatingSystemVersion;
};

}  // namespace orvane
