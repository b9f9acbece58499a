#pragma once

#include "BlockerKit/Model/RawValue.h"

namespace orvane {

/// The heading under which a package is shown.
enum class PackageCollectionType { general, international, custom };

/// The package files; the raw value is the file's name.
enum class PackageType {
  blockAds,
  blockAdult,
  blockAnnoyances,
  blockComments,
  blockTrackers,
  blockInternational,
  blockCustom,
  PreinstalledPackages,
  ConfigurablePackages,
  CustomPackages,
};

template <>
struct RawValues<PackageType> {
  static constexpr RawValueTable<PackageType, 10> table{{
      {PackageType::blockAds, "block-ads.json"},
      {PackageType::blockAdult, "block-adult.json"},
      {PackageType::blockAnnoyances, "block-annoyances.json"},
      {PackageType::blockComments, "block-comments.json"},
      {PackageType::blockTrackers, "block-trackers.json"},
      {PackageType::blockInternational, "block-international.json"},
      {PackageType::blockCustom, "block-custom.json"},
      {PackageType::PreinstalledPackages, "PreinstalledPackages.json"},
      {PackageType::ConfigurablePackages, "ConfigurablePackages.json"},
      {PackageType::CustomPackages, "CustomPackages.json"},
  }};
};

/// The configurable packages; the raw value is the package's `id`.
enum class ConfigurablePackageType { BlockURL, BlockCookies, HideElements, Whitelist, makeHttps };

template <>
struct RawValues<ConfigurablePackageType> {
  static constexpr RawValueTable<ConfigurablePackageType, 5> table{{
      {ConfigurablePackageType::BlockURL, "block-url"},
      {ConfigurablePackageType::BlockCookies, "block-cookies"},
      {ConfigurablePackageType::HideElements, "hide-elements"},
      {ConfigurablePackageType::Whitelist, "whitelist"},
      {ConfigurablePackageType::makeHttps, "make-https"},
  }};
};

/// The heading under which the packages of a file are shown.
PackageCollectionType groupType(PackageType type);

/// The case's own word, as log lines print it: "blockAds".
std::string_view caseName(PackageType type);

}  // namespace orvane
