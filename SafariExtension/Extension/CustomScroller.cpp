#include "SafariExtension/Extension/CustomScroller.h"

namespace orvane {
namespace {

constexpr NSColor slotColor = NSColor::fromBytes(55, 56, 67);
constexpr NSColor knobColor = NSColor::fromBytes(143, 144, 154);
constexpr double knobX = 2;
constexpr double knobWidth = 6;
constexpr NSSize knobCornerRadii{3, 3};

}  // namespace

void CustomScroller::drawRect(NSGraphicsContext* context, const NSRect& rect) const {
  drawKnobSlotInRect(context, rect, /*highlight=*/false);
  drawKnob(context);
}

void CustomScroller::drawKnobSlotInRect(NSGraphicsContext* context, const NSRect& rect,
                                        bool /*highlight*/) {
  if (context != nullptr) context->fillRect(rect, slotColor, context->compositingOperation());
}

void CustomScroller::drawKnob(NSGraphicsContext* context) const {
  const NSRect knob = rectForKnob();
  if (context == nullptr || knob.height <= 0) return;
  context->fillRoundedRect({knobX, knob.y, knobWidth, knob.height}, knobCornerRadii, knobColor);
}

}  // namespace orvane
