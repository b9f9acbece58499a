#pragma once

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// A choice of one of several items, which are named where the view is laid out. There are as many
/// as the product knows, and one of them is always chosen.
class NSPopUpButton : public NSView {
 public:
  int indexOfSelectedItem() const { return selected_; }
  void selectItemAtIndex(int index) { change(selected_, index); }

 private:
  int selected_ = 0;
};

}  // namespace orvane
