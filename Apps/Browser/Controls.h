#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtkmm.h>

namespace orvane {

/// What a screen reader calls the widget.
void setAccessibleLabel(Gtk::Widget& widget, const std::string& label);

/// A flat button that shows an icon only; `purpose` is its tooltip and its name for screen readers.
void setUpIconButton(Gtk::Button& button, const std::string& icon, const std::string& purpose);

struct Shortcut {
  /// As GTK writes key combinations; several are separated by "|".
  const char* keys;
  /// False leaves the keys to whoever else wants them.
  std::function<bool()> action;
};

/// Keys that work wherever in `widget` the keyboard is. As a rule they come before those of the
/// widgets inside; in the bubble phase, after them.
void addShortcuts(Gtk::Widget& widget, const std::vector<Shortcut>& shortcuts,
                  Gtk::PropagationPhase phase = Gtk::PropagationPhase::CAPTURE);

}  // namespace orvane
