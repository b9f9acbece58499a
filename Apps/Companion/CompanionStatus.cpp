#include "Apps/Companion/CompanionStatus.h"

namespace orvane {
namespace {

/// What stands under the key, if it is a `Value`.
template <typename Value>
std::optional<Value> valueIn(const PropertyListValue::Dictionary& dictionary, const char* key) {
  const auto entry = dictionary.find(key);
  const auto* value = entry == dictionary.end() ? nullptr : entry->second.as<Value>();
  return value == nullptr ? std::nullopt : std::optional(*value);
}

}  // namespace

CompanionStatus companionStatus(NSUserDefaults& defaults) {
  const auto status = defaults.object(companionStatusKey);
  const auto* dictionary = status ? status->as<PropertyListValue::Dictionary>() : nullptr;
  if (dictionary == nullptr) return {};
  return {valueIn<std::string>(*dictionary, "attempt").value_or(""),
          valueIn<std::string>(*dictionary, "error").value_or(""),
          valueIn<std::int64_t>(*dictionary, "rules")};
}

void publishCompanionStatus(Platform& platform, NSUserDefaults& defaults, const std::string& error,
                            std::size_t rules) {
  const PropertyListValue::Dictionary status{{"attempt", platform.makeUUID()},
                                             {"error", error},
                                             {"rules", static_cast<std::int64_t>(rules)}};
  static_cast<void>(defaults.setObject(status, companionStatusKey));
}

}  // namespace orvane
