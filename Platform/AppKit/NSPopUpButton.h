#pragma once

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// A choice of one of several items, which are named where the view is laid out.
class NSPopUpButton : public NSView {
 public:
  /// Of the chosen item; one always is.
  int indexOfSelectedItem() const { return selected_; }
  void selectItemAtIndex(int index) { change(selected_, index); }

 private:
  int selected_ = 0;
};

}  // namespace orvane
