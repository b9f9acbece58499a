#pragma once

#include <filesystem>

#include <gtkmm/window.h>

#include "Platform/AppKit/NSAlert.h"

namespace orvane {

/// Shows alerts as dialogs of `parent`, whose program they keep from going on meanwhile. A button,
/// Escape and the closing of the dialog dismiss an alert. When `parent` is destroyed, or the last
/// copy of the function, its alerts go too, and nobody is told. The images of alerts are the SVG
/// files in `resources`. Main queue.
RunAlertModal makeRunAlertModal(Gtk::Window& parent, const std::filesystem::path& resources);

}  // namespace orvane
