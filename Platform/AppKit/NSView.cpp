#include "Platform/AppKit/NSView.h"

namespace orvane {

void NSView::setAlphaValue(double value, Duration duration) {
  if (value == alphaValue_) return;
  alphaDuration_ = duration;
  change(alphaValue_, value);
}

void NSView::setWantsLayer(bool wantsLayer) {
  if (wantsLayer == layer_.has_value()) return;
  change(layer_, wantsLayer ? std::optional(CALayer()) : std::nullopt);
}

void NSView::tellMirror() {
  if (changed_) changed_();
}

}  // namespace orvane
