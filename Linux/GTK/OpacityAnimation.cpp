#include "Linux/GTK/OpacityAnimation.h"

#include <algorithm>
#include <utility>

#include <gtkmm/settings.h>

namespace orvane {
namespace {

/// Slow at both ends.
double eased(double progress) { return progress * progress * (3 - 2 * progress); }

std::chrono::microseconds timeOf(const Gdk::FrameClock& clock) {
  return std::chrono::microseconds(clock.get_frame_time());
}

}  // namespace

// A widget that leaves the screen has no frames any more.
OpacityAnimation::OpacityAnimation(Gtk::Widget& widget) : widget_(widget) {
  widget.signal_unmap().connect(sigc::mem_fun(*this, &OpacityAnimation::finish));
}

void OpacityAnimation::go(double opacity, std::chrono::milliseconds duration) {
  stop();
  if (duration <= duration.zero() || !canAnimate()) {
    widget_.set_opacity(opacity);
    return;
  }
  from_ = widget_.get_opacity();
  to_ = opacity;
  begin_ = timeOf(*widget_.get_frame_clock());
  duration_ = duration;
  callback_ = widget_.add_tick_callback(sigc::mem_fun(*this, &OpacityAnimation::tick));
}

bool OpacityAnimation::canAnimate() const {
  const auto settings = widget_.get_settings();
  return widget_.get_mapped() && settings && settings->property_gtk_enable_animations();
}

bool OpacityAnimation::tick(const Glib::RefPtr<Gdk::FrameClock>& clock) {
  const auto passed = timeOf(*clock) - begin_;
  if (passed >= duration_ || !canAnimate()) {
    callback_ = 0;
    widget_.set_opacity(to_);
    return false;
  }
  const auto progress =
      static_cast<double>(passed.count()) / static_cast<double>(duration_.count());
  widget_.set_opacity(from_ + (to_ - from_) * eased(std::clamp(progress, 0.0, 1.0)));
  return true;
}

void OpacityAnimation::stop() {
  if (callback_ != 0) widget_.remove_tick_callback(std::exchange(callback_, 0));
}

void OpacityAnimation::finish() {
  if (callback_ == 0) return;
  stop();
  widget_.set_opacity(to_);
}

}  // namespace orvane
