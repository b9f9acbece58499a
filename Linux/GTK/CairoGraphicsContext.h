#pragma once

#include <cairomm/context.h>

#include "Platform/AppKit/NSGraphicsContext.h"

namespace orvane {

/// Draws with Cairo.
class CairoGraphicsContext final : public NSGraphicsContext {
 public:
  explicit CairoGraphicsContext(Cairo::RefPtr<Cairo::Context> cairo) : cairo_(std::move(cairo)) {}

  NSCompositingOperation compositingOperation() const override;
  void fillRect(const NSRect& rect, const NSColor& color,
                NSCompositingOperation operation) override;
  void fillRoundedRect(const NSRect& rect, const NSSize& radii, const NSColor& color) override;

 private:
  void fill(const NSColor& color);

  Cairo::RefPtr<Cairo::Context> cairo_;
};

}  // namespace orvane
