#pragma once

#include <gtkmm/label.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSTextField.h"

namespace orvane {

/// Shows a text that the user cannot edit. Where the label may cut it short, the tooltip has all.
class LabelMirror final : public ViewMirror {
 public:
  LabelMirror(NSTextField& view, Gtk::Label& label);

 private:
  void showContent() override;

  NSTextField& view_;
  Gtk::Label& label_;
};

}  // namespace orvane
