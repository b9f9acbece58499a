#pragma once

#include <functional>

#include <gtkmm.h>

#include "Apps/Browser/Notice.h"

namespace orvane {

/// Shows a notice: a picture, what is the matter, why, and a button if something can be done.
class NoticePage final : public Gtk::ScrolledWindow {
 public:
  explicit NoticePage(const std::function<void()>& pressed);

  void show(const Notice& notice);
  std::string title() const { return title_.get_text(); }
  std::string explanation() const { return explanation_.get_text(); }
  Gtk::Button& button() { return button_; }

 private:
  Gtk::Box box_{Gtk::Orientation::VERTICAL};
  Gtk::Image icon_;
  Gtk::Label title_;
  Gtk::Label explanation_;
  Gtk::Button button_;
};

}  // namespace orvane
