#pragma once

#include <string>

#include <gtkmm/cssprovider.h>
#include <gtkmm/widget.h>

namespace orvane {

/// A style of one widget alone, before that of the program. Main queue.
class WidgetStyle {
 public:
  /// `widget` outlives the style.
  explicit WidgetStyle(Gtk::Widget& widget);
  WidgetStyle(const WidgetStyle&) = delete;
  WidgetStyle& operator=(const WidgetStyle&) = delete;
  ~WidgetStyle();

  /// CSS declarations, in the place of those before.
  void set(const std::string& declarations);

 private:
  Gtk::Widget& widget_;
  Glib::RefPtr<Gtk::CssProvider> provider_ = Gtk::CssProvider::create();
};

}  // namespace orvane
