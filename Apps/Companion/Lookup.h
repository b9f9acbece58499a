#pragma once

#include <string>
#include <vector>

#include <tl/expected.hpp>

#include "BlockerKit/Model/Package.h"

namespace orvane {

// Finds what the user names: by its exact id, or else by its exact name if no other has it. The
// error is a text for the user. What is found lives as long as the list.

tl::expected<const Package*, std::string> findPackage(const std::vector<Package>& packages,
                                                      const std::string& idOrName);
tl::expected<const Rule*, std::string> findRule(const Package& package,
                                                const std::string& idOrName);

/// "ID" or "ID (NAME)".
std::string describe(const Package& package);
std::string describe(const Rule& rule);

}  // namespace orvane
