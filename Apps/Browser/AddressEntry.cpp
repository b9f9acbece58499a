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
  addShortcuts(*this, {{"Escape", [this] {
                          set_text(url_);
                          observer_.left();
                          return true;
                        }}});
  const auto keyboard = Gtk::EventControllerFocus::create();
  keyboard->signal_enter().connect(sigc::mem_fun(*this, &AddressEntry::selectAll));
  add_controller(keyboard);
}

void AddressEntry::showOtherPage(const std::string& url) {
  url_ = url;
  set_text(url);
}

void AddressEntry::showAddress(const std::string& url) {
  const bool isEdited = get_text().raw() != url_;
  url_ = url;
  if (!isEdited && get_text().raw() != url) set_text(url);
}

void AddressEntry::showProgress(double fraction, bool isLoading) {
  set_progress_fraction(isLoading ? fraction : 0);
}

void AddressEntry::showSecurity(bool isSecure) {
  const auto scheme = schemeOf(url_);
  if (isSecure) {
    set_icon_from_icon_name("channel-secure-symbolic");
    set_icon_tooltip_text("The connection is encrypted, and the server is who it says.");
  } else if (scheme == "http") {
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
