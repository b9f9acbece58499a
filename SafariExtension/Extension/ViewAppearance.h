#pragma once

#include <optional>
#include <string>

#include "Platform/AppKit/NSTextField.h"
#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Absent when the view has no layer, or its layer no background.
std::optional<NSColor> myBackgroundColor(const NSView& view);
/// The view has a layer from now on, also when it gets no colour.
void setMyBackgroundColor(NSView& view, const std::optional<NSColor>& color);

/// A grey placeholder in the font of labels; `size` is in points.
void setFormattedPlaceholder(NSTextField& field, std::string placeholder, double size);

}  // namespace orvane
