#include "Linux/GTK/LabelMirror.h"

namespace orvane {

LabelMirror::LabelMirror(NSTextField& view, Gtk::Label& label)
    : ViewMirror(view, label), view_(view), label_(label) {
  if (view.stringValue().empty()) view.setStringValue(label.get_text());
  showContent();
}

void LabelMirror::showContent() {
  label_.set_text(view_.stringValue());
  if (label_.get_ellipsize() != Pango::EllipsizeMode::NONE) {
    label_.set_tooltip_text(view_.stringValue());
  }
}

}  // namespace orvane
