#include "Platform/AppKit/NSScroller.h"

#include <algorithm>

namespace orvane {
namespace {

constexpr double shortestKnob = 20;

}  // namespace

double NSScroller::knobHeight() const {
  return std::clamp(size_.height * knobProportion_, std::min(shortestKnob, size_.height),
                    size_.height);
}

NSRect NSScroller::rectForKnob() const {
  if (knobProportion_ >= 1) return {};
  const double height = knobHeight();
  return {0, (size_.height - height) * std::clamp(doubleValue_, 0.0, 1.0), size_.width, height};
}

double NSScroller::valueForKnobAt(double y) const {
  const double way = size_.height - knobHeight();
  return way > 0 ? std::clamp(y / way, 0.0, 1.0) : 0;
}

}  // namespace orvane
