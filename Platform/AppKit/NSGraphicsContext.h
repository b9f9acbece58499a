#pragma once

#include "Platform/AppKit/NSColor.h"
#include "Platform/AppKit/NSGeometry.h"

namespace orvane {

enum class NSCompositingOperation {
  sourceOver,  ///< lays what is drawn over what is there
  copy,        ///< puts what is drawn, its transparency included, in the place of what is there
};

/// What a view is drawn on, its y axis downwards. For the time of one drawing, on its thread.
class NSGraphicsContext {
 public:
  NSGraphicsContext() = default;
  NSGraphicsContext(const NSGraphicsContext&) = delete;
  NSGraphicsContext& operator=(const NSGraphicsContext&) = delete;
  virtual ~NSGraphicsContext() = default;

  virtual NSCompositingOperation compositingOperation() const = 0;
  virtual void fillRect(const NSRect& rect, const NSColor& color,
                        NSCompositingOperation operation) = 0;
  /// With elliptical corners, by the context's own operation.
  virtual void fillRoundedRect(const NSRect& rect, const NSSize& radii, const NSColor& color) = 0;
};

}  // namespace orvane
