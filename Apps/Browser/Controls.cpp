#include "Apps/Browser/Controls.h"

namespace orvane {

void setAccessibleLabel(Gtk::Widget& widget, const std::string& label) {
  gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL,
                                 label.c_str(), -1);
}

void setUpIconButton(Gtk::Button& button, const std::string& icon, const std::string& purpose) {
  button.set_icon_name(icon);
  button.set_has_frame(false);
  button.set_tooltip_text(purpose);
  setAccessibleLabel(button, purpose);
}

void addShortcuts(Gtk::Widget& widget, const std::vector<Shortcut>& shortcuts,
                  Gtk::PropagationPhase phase) {
  const auto controller = Gtk::ShortcutController::create();
  controller->set_propagation_phase(phase);
  for (const auto& shortcut : shortcuts) {
    const auto act = [action = shortcut.action](Gtk::Widget&, const Glib::VariantBase&) {
      return action();
    };
    controller->add_shortcut(Gtk::Shortcut::create(
        Gtk::ShortcutTrigger::parse_string(shortcut.keys), Gtk::CallbackAction::create(act)));
  }
  widget.add_controller(controller);
}

}  // namespace orvane
