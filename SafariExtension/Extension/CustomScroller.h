#pragma once

#include "Platform/AppKit/NSScroller.h"

namespace orvane {

/// The popover's thin dark scroll bar.
class CustomScroller final : public NSScroller {
 public:
  static constexpr double scrollerWidthForControlSize(NSControlSize /*size*/,
                                                      NSScrollerStyle /*style*/) {
    return 10;
  }
  static constexpr bool isCompatibleWithOverlayScrollers() { return true; }

  /// The slot in `rect`, and the knob.
  void drawRect(NSGraphicsContext* context, const NSRect& rect) const override;
  /// A slot looks the same when it is highlighted.
  static void drawKnobSlotInRect(NSGraphicsContext* context, const NSRect& rect, bool highlight);
  void drawKnob(NSGraphicsContext* context) const;
};

}  // namespace orvane
