#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"

namespace orvane {

/// Packages that nobody changes any more; null stands for a list that has not been loaded.
using SharedPackages = std::shared_ptr<const std::vector<Package>>;

SharedPackages share(std::vector<Package> packages);

/// The packages of a process at one moment. A value; a copy costs little.
struct Catalogue {
  SharedPackages general = share({});
  SharedPackages international = share({});
  SharedPackages preinstalled = share({});
  SharedPackages configurable;
  SharedPackages custom;

  /// The catalogue with the lists that are absent read from their files.
  Catalogue loaded(PersistentStore& store) const;

  /// All packages of a loaded catalogue in compile order: pre-installed, configurable but for the
  /// first, custom, and the first configurable package, the whitelist, last. A configurable list
  /// without packages stops the process.
  std::vector<const Package*> packages() const;
};

}  // namespace orvane
