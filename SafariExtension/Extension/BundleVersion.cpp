#include "SafariExtension/Extension/BundleVersion.h"

namespace orvane {
namespace {

const std::string* stringUnder(const char* key, const PropertyListValue::Dictionary& dictionary) {
  const auto entry = dictionary.find(key);
  return entry == dictionary.end() ? nullptr : entry->second.as<std::string>();
}

}  // namespace

std::optional<BundleVersion> BundleVersion::of(const NSBundle& bundle) {
  const auto& dictionary = bundle.infoDictionary();
  if (!dictionary) return std::nullopt;
  const auto* version = stringUnder("CFBundleShortVersionString", *dictionary);
  const auto* build = stringUnder("CFBundleVersion", *dictionary);
  if (version == nullptr || build == nullptr) return std::nullopt;
  return BundleVersion{*version, *build};
}

}  // namespace orvane
