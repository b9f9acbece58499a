#pragma once

#include <optional>
#include <vector>

#include "BlockerKit/Model/Package.h"

namespace orvane {

/// The configurable packages of a process whose file holds `read`: always with the whitelist,
/// which comes first unless the file says otherwise, and HTTPS-only. Without a file all five,
/// empty.
std::vector<Package> completedConfigurablePackages(std::optional<std::vector<Package>> read);

}  // namespace orvane
