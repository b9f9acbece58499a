#include "Apps/Browser/MessageBar.h"

#include "Apps/Browser/Controls.h"

namespace orvane {

MessageBar::MessageBar() {
  label_.set_wrap(true);
  label_.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  label_.set_xalign(0);
  label_.set_hexpand(true);
  setUpIconButton(close_, "window-close-symbolic", "Dismiss the message");
  close_.set_valign(Gtk::Align::CENTER);
  close_.signal_clicked().connect(sigc::mem_fun(*this, &MessageBar::hide));
  box_.add_css_class("message-bar");
  box_.append(label_);
  box_.append(close_);
  set_child(box_);
  hide();
}

void MessageBar::show(const std::string& message) {
  label_.set_text(message);
  set_visible(true);
  set_reveal_child(true);
}

void MessageBar::hide() {
  set_reveal_child(false);
  set_visible(false);
}

}  // namespace orvane
