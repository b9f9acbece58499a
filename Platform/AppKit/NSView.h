#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <optional>

#include "Platform/AppKit/NSColor.h"

namespace orvane {

class NSWindow;

/// The index of what is not there.
// NOLINTNEXTLINE(readability-identifier-naming): the platform's own name
inline constexpr std::ptrdiff_t NSNotFound = std::numeric_limits<std::ptrdiff_t>::max();

/// What is drawn behind a view's content, in points.
struct CALayer {
  std::optional<NSColor> backgroundColor;
  std::optional<NSColor> borderColor;
  double borderWidth = 0;
  double cornerRadius = 0;

  friend bool operator==(const CALayer&, const CALayer&) = default;
};

/// A view as the product knows it: values, which whoever shows the view mirrors on the screen. Main
/// queue.
class NSView {
 public:
  using Duration = std::chrono::milliseconds;

  NSView() = default;
  NSView(const NSView&) = delete;
  NSView& operator=(const NSView&) = delete;
  virtual ~NSView() = default;

  bool isHidden() const { return isHidden_; }
  void setHidden(bool hidden) { change(isHidden_, hidden); }

  /// From 0, which cannot be seen, to 1.
  double alphaValue() const { return alphaValue_; }
  /// The value is the new one at once; the screen comes to it in `duration`.
  void setAlphaValue(double value, Duration duration = Duration::zero());
  /// How long the screen takes to come to the present value from the one before it.
  Duration alphaDuration() const { return alphaDuration_; }

  /// Absent until the view wants one.
  const std::optional<CALayer>& layer() const { return layer_; }
  /// A view that wants a layer has one, at first without any colour; one that does not has none.
  void setWantsLayer(bool wantsLayer);
  /// The view wants a layer from now on.
  void setLayer(const CALayer& layer) { change(layer_, std::optional(layer)); }

  /// The window that shows the view; null while none does.
  NSWindow* window() const { return window_; }
  void setWindow(NSWindow* window) { window_ = window; }

  /// Views stand in no table, so that none has a column.
  static constexpr std::ptrdiff_t accessibilityColumnIndex() { return NSNotFound; }

  /// `changed` is called after every change of a value that the screen shows. Whoever mirrors the
  /// view takes it away again, with an empty one.
  void setMirror(std::function<void()> changed) { changed_ = std::move(changed); }

 protected:
  /// Gives `value` to a property, and tells the mirror if it was another.
  template <typename Value>
  void change(Value& property, Value value) {
    if (property == value) return;
    property = std::move(value);
    tellMirror();
  }
  void tellMirror();

 private:
  bool isHidden_ = false;
  double alphaValue_ = 1;
  Duration alphaDuration_ = Duration::zero();
  std::optional<CALayer> layer_;
  NSWindow* window_ = nullptr;
  std::function<void()> changed_;
};

}  // namespace orvane
