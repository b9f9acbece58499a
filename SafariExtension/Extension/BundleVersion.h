#pragma once

#include <optional>
#include <string>

#include "Platform/Foundation/NSBundle.h"

namespace orvane {

/// What a program says of its version.
struct BundleVersion {
  std::string shortVersion;
  std::string build;

  /// Nothing when the information dictionary is missing or has not both as strings.
  static std::optional<BundleVersion> of(const NSBundle& bundle);
};

}  // namespace orvane
