#pragma once

namespace orvane {

class NSView;

/// The window of a popover. Main queue.
class NSWindow {
 public:
  NSWindow() = default;
  NSWindow(const NSWindow&) = delete;
  NSWindow& operator=(const NSWindow&) = delete;
  virtual ~NSWindow() = default;

  /// Its views have no window afterwards.
  virtual void close() = 0;
  /// Keys go to that view, which is one of the window's, from now on.
  virtual void makeFirstResponder(NSView& view) = 0;
};

}  // namespace orvane
