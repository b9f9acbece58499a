#include "Apps/Browser/AddressEntry.h"

#include <utility>

#include "Apps/Browser/Address.h"
#include "Apps/Browser/Controls.h"

namespace orvane {

AddressEntry::AddressEntry(Executor& mainQueue, Observer observer)
    : mainQueue_(mainQueue), observer_(std::move(observer)) {
  constexpr int fewestCharacters = 5;
  set_width_chars(fewestCharacters);
  set_hexpand(true);
  set_placeholder_text("Enter an address");
  set_input_purpose(Gtk::InputPurpose::URL);
  setAccessibleLabel(*this, "Address");
  signal_activate().connect([this] { observer_.entered(get_text()); });
  signal_changed().connect(sigc::mem_fun(*this, &AddressEntry::updateIcon));
  addShortcuts(*this, {{"Escape", [this] {
                          show(url_);
                          observer_.left();
                          return true;
                        }}});
  const auto keyboard = Gtk::EventControllerFocus::create();
  keyboard->signal_enter().connect(sigc::mem_fun(*this, &AddressEntry::selectAll));
  add_controller(keyboard);
}

void AddressEntry::showOtherPage(const std::string& url) { show(url); }

void AddressEntry::showAddress(const std::string& url) {
  if (isEdited()) {
    url_ = url;
  } else if (url_ != url) {
    show(url);
  }
}

/// The entry cuts what is too long for it, and that is no edit of the user's.
void AddressEntry::show(const std::string& url) {
  url_ = url;
  set_text(url);
  shown_ = get_text();
  updateIcon();
}

void AddressEntry::showProgress(double fraction, bool isLoading) {
  set_progress_fraction(isLoading ? fraction : 0);
}

void AddressEntry::showSecurity(bool isSecure) {
  isSecure_ = isSecure;
  updateIcon();
}

/// Beside what the user has typed it would speak of another address.
void AddressEntry::updateIcon() {
  if (isEdited()) return unset_icon();
  if (isSecure_) {
    set_icon_from_icon_name("channel-secure-symbolic");
    set_icon_tooltip_text("The connection is encrypted, and the server is who it says.");
  } else if (schemeOf(url_) == "http") {
    set_icon_from_icon_name("channel-insecure-symbolic");
    set_icon_tooltip_text("The connection is not encrypted.");
  } else {
    unset_icon();
  }
}

void AddressEntry::focus() {
  grab_focus();
  select_region(0, -1);
}

/// Only once the press that may have brought the keyboard here has set the cursor.
void AddressEntry::selectAll() {
  mainQueue_.post([this, lifetime = std::weak_ptr(lifetime_)] {
    if (!lifetime.expired()) select_region(0, -1);
  });
}

}  // namespace orvane
