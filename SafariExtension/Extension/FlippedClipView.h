#pragma once

#include "Platform/AppKit/NSScrollView.h"

namespace orvane {

/// Lays its content out from the top down.
class FlippedClipView final : public NSClipView {
 public:
  bool isFlipped() const override { return true; }
};

}  // namespace orvane
