#pragma once

#include <gtkmm/button.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSButton.h"

namespace orvane {

/// Shows a button. A title that the value does not have it takes from the widget.
class ButtonMirror final : public ViewMirror {
 public:
  ButtonMirror(NSButton& view, Gtk::Button& button);

 private:
  void showContent() override;

  NSButton& view_;
  Gtk::Button& button_;
};

}  // namespace orvane
