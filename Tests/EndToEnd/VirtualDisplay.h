#pragma once

#include <gio/gio.h>

#include "Apps/Demonstration/GObjectPointer.h"

namespace orvane {

/// A screen that nobody sees, made the display of this process, with GTK initialised on it. One
/// for the life of the process.
class VirtualDisplay {
 public:
  VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;
  ~VirtualDisplay();

  bool isReady() const { return isReady_; }

 private:
  GObjectPointer<GSubprocess> server_;
  bool isReady_ = false;
};

}  // namespace orvane
