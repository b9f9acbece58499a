#include "BlockerKit/Catalogue/Catalogue.h"

#include <utility>

#include "Platform/Foundation/FatalError.h"

namespace orvane {

SharedPackages share(std::vector<Package> packages) {
  return std::make_shared<const std::vector<Package>>(std::move(packages));
}

std::vector<const Package*> inCompileOrder(const std::vector<Package>& preinstalled,
                                           const std::vector<Package>& configurable,
                                           const std::vector<Package>& custom) {
  if (configurable.empty()) {
    fatalError("There are no configurable packages", "BlockerKit/Catalogue");
  }
  std::vector<const Package*> result;
  result.reserve(preinstalled.size() + configurable.size() + custom.size());
  for (const auto& package : preinstalled) result.push_back(&package);
  for (std::size_t i = 1; i < configurable.size(); ++i) result.push_back(&configurable[i]);
  for (const auto& package : custom) result.push_back(&package);
  result.push_back(&configurable.front());
  return result;
}

Catalogue Catalogue::loaded(PersistentStore& store) const {
  Catalogue result = *this;
  if (!result.configurable) result.configurable = share(store.readConfigurablePackages());
  if (!result.custom) result.custom = share(store.readCustomPackages());
  return result;
}

std::vector<const Package*> Catalogue::packages() const {
  return inCompileOrder(*preinstalled, *configurable, *custom);
}

}  // namespace orvane
