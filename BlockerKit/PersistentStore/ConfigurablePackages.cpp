#include "BlockerKit/PersistentStore/ConfigurablePackages.h"

#include <algorithm>
#include <string>
#include <utility>

namespace orvane {
namespace {

Package emptyPackage(ConfigurablePackageType type, std::string name) {
  return {std::string(rawValue(type)), std::move(name), {}};
}

std::vector<Package> defaultConfigurablePackages() {
  return {emptyPackage(ConfigurablePackageType::Whitelist, "Whitelist"),
          emptyPackage(ConfigurablePackageType::BlockURL, "Block URLs"),
          emptyPackage(ConfigurablePackageType::BlockCookies, "Block Cookies"),
          emptyPackage(ConfigurablePackageType::HideElements, "Hide Page Elements"),
          emptyPackage(ConfigurablePackageType::makeHttps, "Make HTTPS-only")};
}

bool contains(const std::vector<Package>& packages, ConfigurablePackageType type) {
  return std::any_of(packages.begin(), packages.end(),
                     [&](const Package& package) { return package.id == rawValue(type); });
}

}  // namespace

std::vector<Package> completedConfigurablePackages(std::optional<std::vector<Package>> read) {
  auto defaults = defaultConfigurablePackages();
  if (!read) return defaults;
  if (!contains(*read, ConfigurablePackageType::Whitelist)) {
    read->insert(read->begin(), defaults.front());
  }
  if (!contains(*read, ConfigurablePackageType::makeHttps)) read->push_back(defaults.back());
  return std::move(*read);
}

}  // namespace orvane
