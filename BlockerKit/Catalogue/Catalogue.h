#pragma once

#include <memory>
#include <vector>

#include "BlockerKit/Model/Package.h"
#include "BlockerKit/PersistentStore/PersistentStore.h"

namespace orvane {

/// Packages that nobody changes any more; null stands for a list that has not been loaded.
using SharedPackages = std::shared_ptr<const std::vector<Package>>;

SharedPackages share(std::vector<Package> packages);

/// All packages in compile order: pre-installed, configurable but for the first, custom, and the
/// first configurable package, the whitelist, last. They live as long as the lists. A configurable
/// list without packages stops the process.
std::vector<const Package*> inCompileOrder(const std::vector<Package>& preinstalled,
                                           const std::vector<Package>& configurable,
                                           const std::vector<Package>& custom);

/// The packages of a process at one moment. A value; a copy costs little.
struct Catalogue {
  SharedPackages preinstalled = share({});
  SharedPackages configurable = nullptr;
  SharedPackages custom = nullptr;

  /// The catalogue with the lists that are absent read from their files.
  Catalogue loaded(PersistentStore& store) const;

  /// The packages of a loaded catalogue in compile order.
  std::vector<const Package*> packages() const;
};

}  // namespace orvane
