#pragma once

#include <string>

#include <gtkmm.h>

namespace orvane {

/// A sentence for the user above the page, until it is out of date or has been dismissed.
class MessageBar final : public Gtk::Revealer {
 public:
  MessageBar();

  void show(const std::string& message);
  void hide();
  /// Empty when there is none.
  std::string message() const { return get_reveal_child() ? label_.get_text().raw() : ""; }

 private:
  Gtk::Box box_;
  Gtk::Label label_;
  Gtk::Button close_;
};

}  // namespace orvane
