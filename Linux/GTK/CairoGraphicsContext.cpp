#include "Linux/GTK/CairoGraphicsContext.h"

#include <algorithm>
#include <numbers>

namespace orvane {
namespace {

constexpr double quarter = std::numbers::pi / 2;

/// A quarter of an ellipse, clockwise from that many quarters behind the positive x axis.
void addCorner(Cairo::Context& cairo, double x, double y, const NSSize& radii, int quarters) {
  cairo.save();
  cairo.translate(x, y);
  cairo.scale(radii.width, radii.height);
  cairo.arc(0, 0, 1, quarters * quarter, (quarters + 1) * quarter);
  cairo.restore();
}

}  // namespace

NSCompositingOperation CairoGraphicsContext::compositingOperation() const {
  return cairo_->get_operator() == Cairo::Context::Operator::SOURCE
             ? NSCompositingOperation::copy
             : NSCompositingOperation::sourceOver;
}

void CairoGraphicsContext::fillRect(const NSRect& rect, const NSColor& color,
                                    NSCompositingOperation operation) {
  cairo_->save();
  cairo_->set_operator(operation == NSCompositingOperation::copy ? Cairo::Context::Operator::SOURCE
                                                                 : Cairo::Context::Operator::OVER);
  cairo_->rectangle(rect.x, rect.y, rect.width, rect.height);
  fill(color);
  cairo_->restore();
}

void CairoGraphicsContext::fillRoundedRect(const NSRect& rect, const NSSize& radii,
                                           const NSColor& color) {
  const NSSize corner{std::min(radii.width, rect.width / 2),
                      std::min(radii.height, rect.height / 2)};
  if (corner.width <= 0 || corner.height <= 0) {
    cairo_->rectangle(rect.x, rect.y, rect.width, rect.height);
    fill(color);
    return;
  }
  const double left = rect.x + corner.width;
  const double top = rect.y + corner.height;
  const double right = rect.x + rect.width - corner.width;
  const double bottom = rect.y + rect.height - corner.height;
  cairo_->begin_new_sub_path();
  addCorner(*cairo_, right, bottom, corner, 0);
  addCorner(*cairo_, left, bottom, corner, 1);
  addCorner(*cairo_, left, top, corner, 2);
  addCorner(*cairo_, right, top, corner, 3);
  cairo_->close_path();
  fill(color);
}

void CairoGraphicsContext::fill(const NSColor& color) {
  cairo_->set_source_rgba(color.red, color.green, color.blue, color.alpha);
  cairo_->fill();
}

}  // namespace orvane
