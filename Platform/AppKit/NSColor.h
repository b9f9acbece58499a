#pragma once

namespace orvane {

/// A colour in the device's RGB space; components go from 0 to 1.
struct NSColor {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;

  /// An opaque colour; components go from 0 to 255.
  static constexpr NSColor fromBytes(int red, int green, int blue) {
    return {red / 255.0, green / 255.0, blue / 255.0};
  }
  static constexpr NSColor lightGrayColor() { return {2 / 3.0, 2 / 3.0, 2 / 3.0}; }
  static constexpr NSColor systemGrayColor() { return fromBytes(142, 142, 147); }

  friend bool operator==(const NSColor&, const NSColor&) = default;
};

}  // namespace orvane
