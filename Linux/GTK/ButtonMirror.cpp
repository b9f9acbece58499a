#include "Linux/GTK/ButtonMirror.h"

#include <gtkmm/label.h>

namespace orvane {
namespace {

/// Null for a button that shows something else.
Gtk::Label* labelOf(Gtk::Button& button) { return dynamic_cast<Gtk::Label*>(button.get_child()); }

}  // namespace

ButtonMirror::ButtonMirror(NSButton& view, Gtk::Button& button)
    : ViewMirror(view, button), view_(view), button_(button) {
  const auto* label = labelOf(button);
  if (view.title().empty() && label != nullptr) view.setTitle(label->get_text());
  showContent();
}

void ButtonMirror::showContent() {
  if (auto* label = labelOf(button_)) label->set_text(view_.title());
  button_.set_sensitive(view_.isEnabled());
}

}  // namespace orvane
