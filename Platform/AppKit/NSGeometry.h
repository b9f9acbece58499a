#pragma once

namespace orvane {

// In points, which are pixels at a scale of 100 %.

struct NSSize {
  double width = 0;
  double height = 0;

  friend bool operator==(const NSSize&, const NSSize&) = default;
};

struct NSRect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  friend bool operator==(const NSRect&, const NSRect&) = default;
};

}  // namespace orvane
