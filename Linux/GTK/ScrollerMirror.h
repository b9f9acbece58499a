#pragma once

#include <optional>

#include <gtkmm/adjustment.h>
#include <gtkmm/drawingarea.h>
#include <gtkmm/eventcontrollerscroll.h>
#include <gtkmm/gesturedrag.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSScroller.h"

namespace orvane {

/// Shows a scroller, which draws itself, and keeps it and what it scrolls at the same place. The
/// knob can be dragged; a press beside it scrolls by a page.
class ScrollerMirror final : public ViewMirror {
 public:
  /// `adjustment` is that of what is scrolled; `width` is the scroller's, in points.
  ScrollerMirror(NSScroller& view, Gtk::DrawingArea& area, Glib::RefPtr<Gtk::Adjustment> adjustment,
                 double width);
  ~ScrollerMirror() override;

 private:
  void showContent() override;
  void takeAdjustment();
  void takeSize(int width, int height);
  void draw(const Cairo::RefPtr<Cairo::Context>& cairo, int width, int height);
  void beginDrag(double x, double y);
  void drag(double x, double moved);
  bool turnWheel(double x, double y);
  /// How far the adjustment's value can go.
  double way() const;

  NSScroller& view_;
  Gtk::DrawingArea& area_;
  Glib::RefPtr<Gtk::Adjustment> adjustment_;
  Glib::RefPtr<Gtk::GestureDrag> gesture_ = Gtk::GestureDrag::create();
  Glib::RefPtr<Gtk::EventControllerScroll> wheel_ = Gtk::EventControllerScroll::create();
  /// Where the knob was when the user took hold of it; absent after a press beside it.
  std::optional<double> heldKnobTop_;
  bool isTaking_ = false;
};

}  // namespace orvane
