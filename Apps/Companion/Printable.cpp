#include "Apps/Companion/Printable.h"

#include <algorithm>

namespace orvane {

std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }, '?');
  return text;
}

}  // namespace orvane
