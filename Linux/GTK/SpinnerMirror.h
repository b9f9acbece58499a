#pragma once

#include <gtkmm/spinner.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSProgressIndicator.h"

namespace orvane {

/// Shows a progress indicator. It turns only while it can be seen: each turn draws a window.
class SpinnerMirror final : public ViewMirror {
 public:
  SpinnerMirror(NSProgressIndicator& view, Gtk::Spinner& spinner);

 private:
  void showContent() override;

  NSProgressIndicator& view_;
  Gtk::Spinner& spinner_;
};

}  // namespace orvane
