#pragma once

#include <functional>

#include <gtkmm.h>
#include <webkit/webkit.h>

namespace orvane {

/// Finds text on the page of one view, from a bar that is open while the user wants it.
class FindBar final : public Gtk::Box {
 public:
  /// `view` outlives the bar. `closed` is called when the user is done, for the page to get the
  /// keyboard.
  FindBar(WebKitWebView* view, std::function<void()> closed);
  FindBar(const FindBar&) = delete;
  FindBar& operator=(const FindBar&) = delete;
  ~FindBar() override;

  /// Opens the bar, if it is not open, with the keyboard in its entry.
  void open();
  void close();
  bool isOpen() const { return get_visible(); }
  void findNext();
  void findPrevious();

  Gtk::Entry& entry() { return entry_; }
  std::string result() const { return result_.get_text(); }

 private:
  void find();
  void showMatches(unsigned count);
  void show(const Glib::ustring& result, bool isMissing);

  WebKitFindController* controller_;
  bool hasSearched_ = false;
  std::function<void()> closed_;
  Gtk::Entry entry_;
  Gtk::Label result_;
  Gtk::Button previous_;
  Gtk::Button next_;
  Gtk::Button close_;
};

}  // namespace orvane
