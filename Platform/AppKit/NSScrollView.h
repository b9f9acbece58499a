#pragma once

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// The part of a scroll view that the content is seen through.
class NSClipView : public NSView {
 public:
  /// Whether content is laid out from the top down, so that what does not fill the view stands at
  /// its top; else from the bottom up.
  virtual bool isFlipped() const { return false; }
};

/// A view around another that may be larger. It does not own its parts.
class NSScrollView : public NSView {
 public:
  explicit NSScrollView(const NSClipView& contentView) : contentView_(contentView) {}

  const NSClipView& contentView() const { return contentView_; }

 private:
  const NSClipView& contentView_;
};

}  // namespace orvane
