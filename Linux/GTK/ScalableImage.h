#pragma once

#include <filesystem>

#include <gtkmm/image.h>

namespace orvane {

/// Shows the image of that file, square and `size` points wide, sharp at the present scale of its
/// screen; nothing when there is no such image.
void setScalableImage(Gtk::Image& image, const std::filesystem::path& file, int size);

}  // namespace orvane
