#include "Linux/GTK/ScrollerMirror.h"

#include <cmath>
#include <utility>

#include "Linux/GTK/CairoGraphicsContext.h"

namespace orvane {
namespace {

/// As far as a scrolled window of that height goes for one step of the wheel.
double wheelStep(double pageSize) { return std::pow(pageSize, 2.0 / 3.0); }

}  // namespace

ScrollerMirror::ScrollerMirror(NSScroller& view, Gtk::DrawingArea& area,
                               Glib::RefPtr<Gtk::Adjustment> adjustment, double width)
    : ViewMirror(view, area), view_(view), area_(area), adjustment_(std::move(adjustment)) {
  area.set_content_width(static_cast<int>(std::lround(width)));
  area.set_draw_func(sigc::mem_fun(*this, &ScrollerMirror::draw));
  area.signal_resize().connect(sigc::mem_fun(*this, &ScrollerMirror::takeSize));
  adjustment_->signal_changed().connect(sigc::mem_fun(*this, &ScrollerMirror::takeAdjustment));
  adjustment_->signal_value_changed().connect(
      sigc::mem_fun(*this, &ScrollerMirror::takeAdjustment));
  gesture_->signal_drag_begin().connect(sigc::mem_fun(*this, &ScrollerMirror::beginDrag));
  gesture_->signal_drag_update().connect(sigc::mem_fun(*this, &ScrollerMirror::drag));
  area.add_controller(gesture_);
  wheel_->set_flags(Gtk::EventControllerScroll::Flags::VERTICAL);
  wheel_->signal_scroll().connect(sigc::mem_fun(*this, &ScrollerMirror::turnWheel), false);
  area.add_controller(wheel_);
  takeSize(area.get_width(), area.get_height());
  takeAdjustment();
}

ScrollerMirror::~ScrollerMirror() {
  area_.remove_controller(gesture_);
  area_.remove_controller(wheel_);
}

double ScrollerMirror::way() const {
  return adjustment_->get_upper() - adjustment_->get_lower() - adjustment_->get_page_size();
}

void ScrollerMirror::showContent() {
  if (!isTaking_ && way() > 0) {
    adjustment_->set_value(adjustment_->get_lower() + view_.doubleValue() * way());
  }
  area_.queue_draw();
}

void ScrollerMirror::takeAdjustment() {
  isTaking_ = true;
  const double length = adjustment_->get_upper() - adjustment_->get_lower();
  view_.setKnobProportion(way() > 0 ? adjustment_->get_page_size() / length : 1);
  view_.setDoubleValue(way() > 0 ? (adjustment_->get_value() - adjustment_->get_lower()) / way()
                                 : 0);
  isTaking_ = false;
}

void ScrollerMirror::takeSize(int width, int height) {
  isTaking_ = true;
  view_.setSize({static_cast<double>(width), static_cast<double>(height)});
  isTaking_ = false;
}

void ScrollerMirror::draw(const Cairo::RefPtr<Cairo::Context>& cairo, int width, int height) {
  CairoGraphicsContext context(cairo);
  view_.drawRect(&context, {0, 0, static_cast<double>(width), static_cast<double>(height)});
}

void ScrollerMirror::beginDrag(double /*x*/, double y) {
  const NSRect knob = view_.rectForKnob();
  heldKnobTop_.reset();
  const double page = adjustment_->get_page_increment();
  if (y < knob.y) {
    adjustment_->set_value(adjustment_->get_value() - page);
  } else if (y >= knob.y + knob.height) {
    adjustment_->set_value(adjustment_->get_value() + page);
  } else {
    heldKnobTop_ = knob.y;
  }
}

void ScrollerMirror::drag(double /*x*/, double moved) {
  if (heldKnobTop_) view_.setDoubleValue(view_.valueForKnobAt(*heldKnobTop_ + moved));
}

bool ScrollerMirror::turnWheel(double /*x*/, double y) {
  adjustment_->set_value(adjustment_->get_value() + y * wheelStep(adjustment_->get_page_size()));
  return way() > 0;
}

}  // namespace orvane
