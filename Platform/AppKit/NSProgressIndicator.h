#pragma once

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Shows that something is under way, without saying how far it is.
class NSProgressIndicator : public NSView {
 public:
  bool isAnimating() const { return isAnimating_; }
  void startAnimation() { change(isAnimating_, true); }

 private:
  bool isAnimating_ = false;
};

}  // namespace orvane
