#pragma once

#include <gtkmm/dropdown.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSPopUpButton.h"

namespace orvane {

/// Shows a choice, which the user can change.
class DropDownMirror final : public ViewMirror {
 public:
  DropDownMirror(NSPopUpButton& view, Gtk::DropDown& dropDown);

 private:
  void showContent() override;
  void takeChoice();

  NSPopUpButton& view_;
  Gtk::DropDown& dropDown_;
};

}  // namespace orvane
