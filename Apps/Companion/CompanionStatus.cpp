#include "Apps/Companion/CompanionStatus.h"

#include <cstdint>

namespace orvane {
namespace {

std::string textOr(const PropertyListValue::Dictionary& dictionary, const char* key) {
  const auto entry = dictionary.find(key);
  const auto* text = entry == dictionary.end() ? nullptr : entry->second.as<std::string>();
  return text == nullptr ? std::string() : *text;
}

}  // namespace

CompanionStatus companionStatus(NSUserDefaults& defaults) {
  const auto status = defaults.object(companionStatusKey);
  const auto* dictionary = status ? status->as<PropertyListValue::Dictionary>() : nullptr;
  if (dictionary == nullptr) return {};
  return {textOr(*dictionary, "attempt"), textOr(*dictionary, "error")};
}

void publishCompanionStatus(Platform& platform, NSUserDefaults& defaults, const std::string& error,
                            std::size_t rules) {
  const PropertyListValue::Dictionary status{{"attempt", platform.makeUUID()},
                                             {"error", error},
                                             {"rules", static_cast<std::int64_t>(rules)}};
  static_cast<void>(defaults.setObject(status, companionStatusKey));
}

}  // namespace orvane
