#pragma once

#include <gio/gio.h>

#include "Linux/GLib/GObjectPointer.h"

namespace orvane {

/// A screen that nobody sees, made the display of this process, with GTK initialised on it.
class VirtualDisplay {
 public:
  /// The one display of the process, made at the first call: GTK does not survive the loss of it.
  static VirtualDisplay& ofThisProcess();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;
  ~VirtualDisplay();

  bool isReady() const { return isReady_; }

 private:
  VirtualDisplay();

  GObjectPointer<GSubprocess> server_;
  bool isReady_ = false;
};

}  // namespace orvane
