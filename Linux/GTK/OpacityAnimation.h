#pragma once

#include <chrono>

#include <gdkmm/frameclock.h>
#include <gtkmm/widget.h>
#include <sigc++/trackable.h>

namespace orvane {

/// Brings a widget from one opacity to another. Main queue.
class OpacityAnimation : public sigc::trackable {
 public:
  /// `widget` outlives the animation.
  explicit OpacityAnimation(Gtk::Widget& widget);
  OpacityAnimation(const OpacityAnimation&) = delete;
  OpacityAnimation& operator=(const OpacityAnimation&) = delete;
  /// The widget keeps the opacity that it has come to.
  ~OpacityAnimation() { stop(); }

  /// From the present opacity to that one, in `duration`; at once where the user wants no
  /// animations or nobody sees the widget.
  void go(double opacity, std::chrono::milliseconds duration);

 private:
  bool tick(const Glib::RefPtr<Gdk::FrameClock>& clock);
  void stop();
  void finish();
  bool canAnimate() const;

  Gtk::Widget& widget_;
  guint callback_ = 0;
  std::chrono::microseconds begin_{};
  std::chrono::microseconds duration_{};
  double from_ = 1;
  double to_ = 1;
};

}  // namespace orvane
