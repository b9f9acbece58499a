#include "Linux/GTK/SpinnerMirror.h"

namespace orvane {

SpinnerMirror::SpinnerMirror(NSProgressIndicator& view, Gtk::Spinner& spinner)
    : ViewMirror(view, spinner), view_(view), spinner_(spinner) {
  spinner.signal_map().connect(sigc::mem_fun(*this, &SpinnerMirror::showContent));
  spinner.signal_unmap().connect(sigc::mem_fun(*this, &SpinnerMirror::showContent));
  showContent();
}

void SpinnerMirror::showContent() {
  spinner_.set_spinning(view_.isAnimating() && view_.alphaValue() > 0 && spinner_.get_mapped());
}

}  // namespace orvane
