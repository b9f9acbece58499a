#pragma once

#include <functional>

#include <gtkmm.h>

#include "Apps/Browser/BlockingStatus.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// The settings of the browser: the switch of the content blocker, and how blocking goes. Main
/// thread.
class SettingsWindow final : public Gtk::Window {
 public:
  /// Switches the content blocker.
  using Setter = std::function<Expected<void>(bool)>;

  /// A window in front of `parent`.
  SettingsWindow(Gtk::Window& parent, Setter setEnabled);

  void update(const BlockingFacts& facts);

  Gtk::Switch& contentBlocker() { return switch_; }
  std::string title() const { return title_.get_text(); }
  /// What could not be done; empty when all could.
  std::string problem() const { return problem_.get_visible() ? problem_.get_text().raw() : ""; }

 private:
  void addSwitchRow();
  void addStatusRow();
  void addFact(const Glib::ustring& name, Gtk::ListBoxRow& row, Gtk::Label& value);
  bool switched(bool enabled);

  Setter setEnabled_;
  bool isUpdating_ = false;
  Gtk::HeaderBar header_;
  Gtk::ScrolledWindow scroller_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL};
  Gtk::ListBox list_;
  Gtk::Switch switch_;
  Gtk::Image icon_;
  Gtk::Label title_;
  Gtk::Label explanation_;
  Gtk::ListBoxRow rulesRow_;
  Gtk::Label rules_;
  Gtk::ListBoxRow compiledRow_;
  Gtk::Label compiled_;
  Gtk::Label problem_;
};

}  // namespace orvane
