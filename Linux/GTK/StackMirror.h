#pragma once

#include <utility>
#include <vector>

#include <gtkmm/box.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSStackView.h"

namespace orvane {

/// Shows the spaces of a stack view. Its views have mirrors of their own.
class StackMirror final : public ViewMirror {
 public:
  /// The views that a space may follow, and their widgets, each in a box.
  using SpacedViews = std::vector<std::pair<const NSView*, Gtk::Widget*>>;

  StackMirror(NSStackView& view, Gtk::Widget& stack, SpacedViews spacedViews);

 private:
  void showContent() override;

  NSStackView& view_;
  SpacedViews spacedViews_;
};

}  // namespace orvane
