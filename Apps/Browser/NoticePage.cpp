#include "Apps/Browser/NoticePage.h"

namespace orvane {
namespace {

void wrap(Gtk::Label& label) {
  label.set_wrap(true);
  label.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  label.set_justify(Gtk::Justification::CENTER);
  label.set_max_width_chars(50);
  label.set_halign(Gtk::Align::CENTER);
}

}  // namespace

NoticePage::NoticePage(const std::function<void()>& pressed) {
  constexpr int iconSize = 96;
  add_css_class("notice");
  set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  icon_.set_pixel_size(iconSize);
  icon_.add_css_class("dim-label");
  title_.add_css_class("notice-title");
  wrap(title_);
  explanation_.add_css_class("notice-text");
  wrap(explanation_);
  button_.set_halign(Gtk::Align::CENTER);
  button_.add_css_class("suggested-action");
  button_.add_css_class("notice-button");
  button_.signal_clicked().connect(pressed);
  box_.set_valign(Gtk::Align::CENTER);
  box_.set_margin(24);
  box_.set_spacing(12);
  for (Gtk::Widget* child :
       {static_cast<Gtk::Widget*>(&icon_), static_cast<Gtk::Widget*>(&title_),
        static_cast<Gtk::Widget*>(&explanation_), static_cast<Gtk::Widget*>(&button_)}) {
    box_.append(*child);
  }
  set_child(box_);
}

void NoticePage::show(const Notice& notice) {
  icon_.set_from_icon_name(notice.icon);
  title_.set_text(notice.title);
  explanation_.set_text(notice.explanation);
  button_.set_label(notice.button);
  button_.set_visible(!notice.button.empty());
  set_visible(true);
}

}  // namespace orvane
