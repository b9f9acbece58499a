#pragma once

#include <gtkmm/scrolledwindow.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSScrollView.h"

namespace orvane {

/// Shows a clip view, whose content is the child of the widget.
class ClipViewMirror final : public ViewMirror {
 public:
  ClipViewMirror(NSClipView& view, Gtk::ScrolledWindow& window);
};

}  // namespace orvane
