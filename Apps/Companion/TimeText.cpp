#include "Apps/Companion/TimeText.h"

#include <array>

namespace orvane {
namespace {

std::string formatted(const std::tm& parts, const char* format) {
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

}  // namespace

std::string localTimeText(std::time_t time) {
  std::tm parts{};
  static_cast<void>(::localtime_r(&time, &parts));
  return formatted(parts, "%Y-%m-%d %H:%M:%S");
}

std::string utcTimeText(std::time_t time) {
  std::tm parts{};
  static_cast<void>(::gmtime_r(&time, &parts));
  return formatted(parts, "%Y-%m-%dT%H:%M:%SZ");
}

}  // namespace orvane
