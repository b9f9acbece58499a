#pragma once

#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <vector>

#include <cairomm/surface.h>
#include <gtkmm/widget.h>

namespace orvane::test {

/// A colour in bytes, multiplied by its alpha.
struct Pixel {
  int red = 0;
  int green = 0;
  int blue = 0;
  int alpha = 255;

  friend bool operator==(const Pixel&, const Pixel&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << "rgba(" << pixel.red << ", " << pixel.green << ", " << pixel.blue << ", "
                  << pixel.alpha << ")";
  }
  /// How far the farthest component is from the other's.
  int distance(const Pixel& other) const {
    return std::max({std::abs(red - other.red), std::abs(green - other.green),
                     std::abs(blue - other.blue), std::abs(alpha - other.alpha)});
  }
};

/// What was drawn, pixel by pixel.
class Picture {
 public:
  /// What the widget shows on the screen after its next frame, its border included.
  static Picture of(Gtk::Widget& widget);
  static Picture of(const Cairo::RefPtr<Cairo::ImageSurface>& surface);

  int width() const { return width_; }
  int height() const { return height_; }
  Pixel at(int x, int y) const {
    const auto value = pixels_.at(static_cast<std::size_t>(y * width_ + x));
    const auto byte = [value](int shift) { return static_cast<int>((value >> shift) & 0xFFU); };
    return {byte(16), byte(8), byte(0), byte(24)};
  }

 private:
  Picture(int width, int height)
      : width_(width),
        height_(height),
        pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

  int width_;
  int height_;
  std::vector<std::uint32_t> pixels_;
};

}  // namespace orvane::test
