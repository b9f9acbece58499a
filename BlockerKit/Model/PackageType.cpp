#include "BlockerKit/Model/PackageType.h"

namespace orvane {

PackageCollectionType groupType(PackageType type) {
  switch (type) {
    case PackageType::blockAds:
    case PackageType::blockAdult:
    case PackageType::blockAnnoyances:
    case PackageType::blockComments:
    case PackageType::blockTrackers:
      return PackageCollectionType::general;
    case PackageType::blockInternational:
      return PackageCollectionType::international;
    case PackageType::blockCustom:
    case PackageType::PreinstalledPackages:
    case PackageType::ConfigurablePackages:
    case PackageType::CustomPackages:
      break;
  }
  return PackageCollectionType::custom;
}

std::string_view caseName(PackageType type) {
  switch (type) {
    case PackageType::blockAds:
      return "blockAds";
    case PackageType::blockAdult:
      return "blockAdult";
    case PackageType::blockAnnoyances:
      return "blockAnnoyances";
    case PackageType::blockComments:
      return "blockComments";
    case PackageType::blockTrackers:
      return "blockTrackers";
    case PackageType::blockInternational:
      return "blockInternational";
    case PackageType::blockCustom:
      return "blockCustom";
    case PackageType::PreinstalledPackages:
      return "PreinstalledPackages";
    case PackageType::ConfigurablePackages:
      return "ConfigurablePackages";
    case PackageType::CustomPackages:
      break;
  }
  return "CustomPackages";
}

}  // namespace orvane
