#include "Linux/GTK/ClipViewMirror.h"

namespace orvane {

ClipViewMirror::ClipViewMirror(NSClipView& view, Gtk::ScrolledWindow& window)
    : ViewMirror(view, window) {
  // Content that fills the view begins at its top, and takes clicks everywhere.
  window.get_child()->set_valign(view.isFlipped() ? Gtk::Align::FILL : Gtk::Align::END);
}

}  // namespace orvane
