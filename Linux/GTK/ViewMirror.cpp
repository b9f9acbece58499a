#include "Linux/GTK/ViewMirror.h"

#include <string>

#include <fmt/format.h>

#include "Linux/GTK/CSSColor.h"

namespace orvane {
namespace {

std::string css(const CALayer& layer) {
  std::string text = fmt::format("border-radius: {}px;", layer.cornerRadius);
  if (layer.backgroundColor) {
    text += fmt::format("background: {};", cssColor(*layer.backgroundColor));
  }
  if (layer.borderColor) {
    text += fmt::format("border: {}px solid {};", layer.borderWidth, cssColor(*layer.borderColor));
  }
  return text;
}

}  // namespace

ViewMirror::ViewMirror(NSView& view, Gtk::Widget& widget)
    : view_(view), widget_(widget), opacity_(widget) {
  view.setMirror([this] {
    show();
    showContent();
  });
  show();
}

ViewMirror::~ViewMirror() { view_.setMirror({}); }

void ViewMirror::show() {
  widget_.set_visible(!view_.isHidden());
  showAlpha();
  showLayer();
}

void ViewMirror::showAlpha() {
  const double alpha = view_.alphaValue();
  if (alpha_ == alpha) return;
  opacity_.go(alpha, alpha_ ? view_.alphaDuration() : NSView::Duration::zero());
  alpha_ = alpha;
  // What is not seen is not pressed by accident either, and holds no focus that nobody finds.
  widget_.set_can_target(alpha > 0);
  widget_.set_can_focus(alpha > 0);
}

void ViewMirror::showLayer() {
  if (layer_ == view_.layer()) return;
  layer_ = view_.layer();
  if (!layer_) {
    style_.reset();
    return;
  }
  if (!style_) style_.emplace(widget_);
  style_->set(css(*layer_));
  // So that the content does not cover the corners.
  widget_.set_overflow(layer_->cornerRadius > 0 ? Gtk::Overflow::HIDDEN : Gtk::Overflow::VISIBLE);
}

}  // namespace orvane
