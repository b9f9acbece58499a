#pragma once

#include <filesystem>

#include <gtk/gtk.h>

namespace orvane::test {

/// A picture of the screen where a window is, with whatever lies over it.
struct ScreenPicture {
  int width = 0;  ///< in pixels
  int height = 0;
  /// How many colours there are; a window that shows nothing has a few.
  std::size_t colours = 0;
};

/// Saves it as a PNG file; a width of 0 when that fails.
ScreenPicture takePicture(GtkWidget* window, const std::filesystem::path& file);

}  // namespace orvane::test
