#pragma once

#include "Platform/AppKit/NSGraphicsContext.h"
#include "Platform/AppKit/NSView.h"

namespace orvane {

enum class NSControlSize { regular, small, mini };
enum class NSScrollerStyle {
  legacy,   ///< takes room beside the content
  overlay,  ///< lies over the content
};

/// A vertical scroll bar: a slot as large as the view, and a knob in it. How it looks is up to its
/// subclass.
class NSScroller : public NSView {
 public:
  /// Where the knob stands, from 0, the top, to 1.
  double doubleValue() const { return doubleValue_; }
  void setDoubleValue(double value) { change(doubleValue_, value); }
  /// The part of the slot that the knob takes.
  double knobProportion() const { return knobProportion_; }
  void setKnobProportion(double proportion) { change(knobProportion_, proportion); }
  NSSize size() const { return size_; }
  void setSize(NSSize size) { change(size_, size); }

  /// Where the knob is; empty when there is nothing to scroll. It is never too short to be caught.
  NSRect rectForKnob() const;
  /// The value at which the top of the knob stands at `y`.
  double valueForKnobAt(double y) const;

  /// Draws the whole view; `context` may be null, where nothing is drawn.
  virtual void drawRect(NSGraphicsContext* context, const NSRect& rect) const = 0;

 private:
  double knobHeight() const;

  double doubleValue_ = 0;
  double knobProportion_ = 1;
  NSSize size_;
};

}  // namespace orvane
