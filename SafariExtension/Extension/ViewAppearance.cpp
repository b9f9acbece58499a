#include "SafariExtension/Extension/ViewAppearance.h"

#include <utility>

namespace orvane {

std::optional<NSColor> myBackgroundColor(const NSView& view) {
  return view.layer() ? view.layer()->backgroundColor : std::nullopt;
}

void setMyBackgroundColor(NSView& view, const std::optional<NSColor>& color) {
  view.setWantsLayer(true);
  CALayer layer = *view.layer();
  layer.backgroundColor = color;
  view.setLayer(layer);
}

void setFormattedPlaceholder(NSTextField& field, std::string placeholder, double size) {
  field.setPlaceholderAttributedString({std::move(placeholder), NSColor::systemGrayColor(), size});
}

}  // namespace orvane
