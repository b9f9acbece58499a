#include "Tests/EndToEnd/Browsing/ScreenPicture.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <unordered_set>

#include <cairo-xlib.h>
#include <gdk/x11/gdkx.h>

namespace orvane::test {
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

/// The screen from its corner on, where windows are without a window manager.
Surface copyOfScreen(int width, int height) {
  Display* display = gdk_x11_display_get_xdisplay(gdk_display_get_default());
  const int screen = DefaultScreen(display);
  const Surface root(cairo_xlib_surface_create(display, RootWindow(display, screen),
                                               DefaultVisual(display, screen), width, height),
                     cairo_surface_destroy);
  Surface copy(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height),
               cairo_surface_destroy);
  cairo_t* context = cairo_create(copy.get());
  cairo_set_source_surface(context, root.get(), 0, 0);
  cairo_paint(context);
  cairo_destroy(context);
  return copy;
}

std::size_t coloursIn(cairo_surface_t* surface, int width, int height) {
  std::unordered_set<std::uint32_t> colours;
  const auto* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel, data + y * stride + 4 * x, sizeof pixel);
      colours.insert(pixel & 0xFFFFFFU);
    }
  }
  return colours.size();
}

}  // namespace

ScreenPicture takePicture(GtkWidget* window, const std::filesystem::path& file) {
  GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window));
  const int scale = gdk_surface_get_scale_factor(surface);
  // A popover may reach beyond its window.
  constexpr int beyond = 200;
  const int width = (gdk_surface_get_width(surface) + beyond) * scale;
  const int height = gdk_surface_get_height(surface) * scale;
  const Surface copy = copyOfScreen(width, height);
  std::filesystem::create_directories(file.parent_path());
  if (cairo_surface_write_to_png(copy.get(), file.c_str()) != CAIRO_STATUS_SUCCESS) return {};
  return {width, height, coloursIn(copy.get(), width, height)};
}

}  // namespace orvane::test
