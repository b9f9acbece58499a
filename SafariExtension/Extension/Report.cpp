#include "SafariExtension/Extension/Report.h"

#include <fmt/format.h>

#include "SafariExtension/Extension/BundleVersion.h"

namespace orvane {

std::string applicationVersion(const NSBundle& mainBundle) {
  const auto version = BundleVersion::of(mainBundle);
  return version ? fmt::format("{} ({})", version->shortVersion, version->build) : "";
}

}  // namespace orvane
