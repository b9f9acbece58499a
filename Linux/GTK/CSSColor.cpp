#include "Linux/GTK/CSSColor.h"

#include <fmt/format.h>

namespace orvane {

std::string cssColor(const NSColor& color) {
  constexpr double percent = 100;
  return fmt::format("rgba({:.4f}%, {:.4f}%, {:.4f}%, {:.4f})", color.red * percent,
                     color.green * percent, color.blue * percent, color.alpha);
}

}  // namespace orvane
