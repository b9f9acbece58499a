#pragma once

#include <gtkmm.h>

#include "Apps/Browser/AddressEntry.h"
#include "Apps/Browser/Tab.h"
#include "Apps/Browser/ToolbarItem.h"

namespace orvane {

/// The controls of a window, above its tabs. The menu's items are actions of the group "browser".
class HeaderBar final : public Gtk::HeaderBar {
 public:
  struct Observer {
    std::function<void()> back;
    std::function<void()> forward;
    std::function<void()> reloadOrStop;
  };

  /// Both widgets outlive the bar.
  HeaderBar(AddressEntry& address, ToolbarItem& toolbarItem, const Observer& observer);

  /// Shows what the tab in front is now.
  void update(const Tab& tab);

  /// In a narrow window the address has the room of what can be done without.
  void setNarrow(bool isNarrow);

 private:
  void showOrHideForward();

  bool isNarrow_ = false;
  bool canGoForward_ = false;
  Gtk::Box box_;
  Gtk::WindowControls startControls_{Gtk::PackType::START};
  Gtk::WindowControls endControls_{Gtk::PackType::END};
  Gtk::Button back_;
  Gtk::Button forward_;
  Gtk::Button reload_;
  Gtk::MenuButton menu_;
};

}  // namespace orvane
