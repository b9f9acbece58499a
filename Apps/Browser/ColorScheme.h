#pragma once

#include <memory>
#include <optional>

#include <gio/gio.h>

#include "Linux/GLib/GObjectPointer.h"

namespace orvane {

enum class ColorScheme { light, dark };

/// Makes the browser dark or light, its pages too: always as it was chosen, or else as the desktop
/// wants it, for as long as this lives. Main thread, after `gtk_init`.
class ColorSchemeFollower {
 public:
  explicit ColorSchemeFollower(std::optional<ColorScheme> choice);
  ColorSchemeFollower(const ColorSchemeFollower&) = delete;
  ColorSchemeFollower& operator=(const ColorSchemeFollower&) = delete;
  ~ColorSchemeFollower();

 private:
  void followDesktop();

  GObjectPointer<GCancellable> cancellable_{g_cancellable_new()};
  GObjectPointer<GDBusProxy> portal_;
};

}  // namespace orvane
