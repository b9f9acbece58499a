#include "Apps/Browser/MessageBar.h"

#include <utility>

#include "Apps/Browser/Controls.h"

namespace orvane {

MessageBar::MessageBar() {
  label_.set_wrap(true);
  label_.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  // The page has a say in some of the texts, and none in how much of the window is left.
  constexpr int mostLines = 4;
  label_.set_lines(mostLines);
  label_.set_ellipsize(Pango::EllipsizeMode::END);
  label_.set_xalign(0);
  label_.set_hexpand(true);
  setUpIconButton(close_, "window-close-symbolic", "Dismiss the message");
  answer_.set_valign(Gtk::Align::CENTER);
  answer_.signal_clicked().connect([this] {
    hide();
    std::exchange(action_, nullptr)();
  });
  close_.set_valign(Gtk::Align::CENTER);
  close_.signal_clicked().connect(sigc::mem_fun(*this, &MessageBar::hide));
  add_css_class("message-bar");
  append(label_);
  append(answer_);
  append(close_);
  hide();
}

void MessageBar::show(const std::string& message) {
  answer_.set_visible(false);
  open(message);
}

void MessageBar::ask(const std::string& question, const std::string& answer,
                     std::function<void()> action) {
  action_ = std::move(action);
  answer_.set_label(answer);
  answer_.set_visible(true);
  open(question);
}

void MessageBar::open(const std::string& message) {
  label_.set_text(message);
  set_visible(true);
}

void MessageBar::hide() { set_visible(false); }

}  // namespace orvane
