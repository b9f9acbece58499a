#pragma once

#include <functional>
#include <string>

#include <gtkmm.h>

#include "Platform/Foundation/Executor.h"

namespace orvane {

/// Where the user reads and types the address of a page, and sees how far it is loaded.
class AddressEntry final : public Gtk::Entry {
 public:
  struct Observer {
    /// The user has entered this text.
    std::function<void(const std::string&)> entered;
    /// The user is done here without having entered anything.
    std::function<void()> left;
  };

  /// `mainQueue` outlives the entry.
  AddressEntry(Executor& mainQueue, Observer observer);

  /// Shows the address of another page, whatever the user may have typed for the one before.
  void showOtherPage(const std::string& url);
  /// Shows the address that the page has by now, unless the user is typing.
  void showAddress(const std::string& url);
  void showProgress(double fraction, bool isLoading);
  /// Whether the page came over a connection that is encrypted to the server that it names.
  void showSecurity(bool isSecure);
  /// Moves the keyboard here, with everything selected.
  void focus();

 private:
  bool isEdited() const { return get_text().raw() != shown_.raw(); }
  void updateIcon();
  void selectAll();
  void show(const std::string& url);

  Executor& mainQueue_;
  Observer observer_;
  std::string url_;
  /// What the entry held when it was set.
  Glib::ustring shown_;
  bool isSecure_ = false;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
