#include "Linux/GTK/DropDownMirror.h"

namespace orvane {

DropDownMirror::DropDownMirror(NSPopUpButton& view, Gtk::DropDown& dropDown)
    : ViewMirror(view, dropDown), view_(view), dropDown_(dropDown) {
  dropDown.property_selected().signal_changed().connect(
      sigc::mem_fun(*this, &DropDownMirror::takeChoice));
  showContent();
}

void DropDownMirror::showContent() {
  dropDown_.set_selected(static_cast<guint>(view_.indexOfSelectedItem()));
}

void DropDownMirror::takeChoice() {
  const guint selected = dropDown_.get_selected();
  if (selected != GTK_INVALID_LIST_POSITION) view_.selectItemAtIndex(static_cast<int>(selected));
}

}  // namespace orvane
