#include "Linux/GTK/StackMirror.h"

#include <algorithm>
#include <cmath>

namespace orvane {
namespace {

/// The box puts its own space behind every widget; the margin makes up for the rest.
void setSpaceAfter(Gtk::Widget& widget, double space) {
  const auto* box = dynamic_cast<Gtk::Box*>(widget.get_parent());
  const int boxSpace = box == nullptr ? 0 : box->get_spacing();
  widget.set_margin_bottom(std::max(0, static_cast<int>(std::lround(space)) - boxSpace));
}

}  // namespace

StackMirror::StackMirror(NSStackView& view, Gtk::Widget& stack, SpacedViews spacedViews)
    : ViewMirror(view, stack), view_(view), spacedViews_(std::move(spacedViews)) {
  showContent();
}

void StackMirror::showContent() {
  for (const auto& [view, widget] : spacedViews_) {
    if (const auto space = view_.customSpacingAfterView(*view)) setSpaceAfter(*widget, *space);
  }
}

}  // namespace orvane
