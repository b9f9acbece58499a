#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <gtkmm.h>

#include "Apps/Browser/Tab.h"

namespace orvane {

/// The tabs of a window, one of which is in front, unless there is none. Main thread.
class TabStrip {
 public:
  struct Observer {
    std::function<void()> frontChanged;
    /// The user wants that.
    std::function<void(Tab&)> closeRequested;
    std::function<void()> newTabRequested;
  };

  explicit TabStrip(Observer observer);
  TabStrip(const TabStrip&) = delete;
  TabStrip& operator=(const TabStrip&) = delete;
  ~TabStrip();

  Gtk::Widget& widget() { return notebook_; }

  /// Puts the tab behind `neighbour`, or behind all if that is null, and in front.
  void add(std::unique_ptr<Tab> tab, Tab* neighbour);
  /// Takes the tab out.
  std::unique_ptr<Tab> take(Tab& tab);
  /// Shows what the tab is now.
  void update(Tab& tab);

  std::size_t size() const { return tabs_.size(); }
  Tab* front();
  Tab* at(std::size_t index);
  Tab* withToken(std::string_view token);
  void bringToFront(Tab& tab);
  /// Brings the tab that is so many places to the right to the front; the last is left of the
  /// first.
  void moveFront(int places);

 private:
  struct Entry;

  Entry* entryOf(const Tab& tab);
  void showOrHideStrip();

  Observer observer_;
  Gtk::Notebook notebook_;
  Gtk::Button newTab_;
  std::vector<std::unique_ptr<Entry>> tabs_;
};

}  // namespace orvane
