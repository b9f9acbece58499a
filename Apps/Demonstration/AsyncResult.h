#pragma once

#include <chrono>
#include <memory>
#include <string_view>

#include <gio/gio.h>

#include "Linux/GLib/GObjectPointer.h"
#include "Platform/Foundation/NSError.h"

namespace orvane {

/// An error of the demonstration itself.
NSError demonstrationError(std::string description);

/// The error for a step that did not end in time, or that a signal ended.
NSError timeLimitError(std::string_view step, std::chrono::milliseconds limit);

/// Waits for one asynchronous GIO call: pass `callback` and `callbackData()` to the call. An answer
/// that comes after the waiting has been given up does no harm.
class AsyncResult {
 public:
  AsyncResult() : slot_(std::make_shared<Slot>()) {}

  static void callback(GObject* source, GAsyncResult* result, gpointer data);
  /// For exactly one call.
  gpointer callbackData() const { return new std::shared_ptr<Slot>(slot_); }

  /// Runs the main loop until the answer is there. `step` is for the error.
  Expected<GAsyncResult*> wait(std::string_view step, std::chrono::milliseconds limit) const;

 private:
  using Slot = GObjectPointer<GAsyncResult>;

  std::shared_ptr<Slot> slot_;
};

}  // namespace orvane
