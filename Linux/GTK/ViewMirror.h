#pragma once

#include <optional>

#include <gtkmm/widget.h>
#include <sigc++/trackable.h>

#include "Linux/GTK/OpacityAnimation.h"
#include "Linux/GTK/WidgetStyle.h"
#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Shows what every view has on a widget: whether it is hidden, its opacity and its layer. A
/// subclass shows what its kind of view has besides. A mirror is its view's only one; it ends
/// before the view and the widget, and leaves both as they are. Main queue.
class ViewMirror : public sigc::trackable {
 public:
  ViewMirror(NSView& view, Gtk::Widget& widget);
  ViewMirror(const ViewMirror&) = delete;
  ViewMirror& operator=(const ViewMirror&) = delete;
  virtual ~ViewMirror();

 protected:
  /// Shows the values that only this kind of view has.
  virtual void showContent() {}

 private:
  void show();
  void showAlpha();
  void showLayer();

  NSView& view_;
  Gtk::Widget& widget_;
  OpacityAnimation opacity_;
  std::optional<double> alpha_;
  std::optional<CALayer> layer_;
  std::optional<WidgetStyle> style_;
};

}  // namespace orvane
