#include "Linux/GTK/ScalableImage.h"

#include <giomm/file.h>
#include <gtkmm/iconpaintable.h>

namespace orvane {

void setScalableImage(Gtk::Image& image, const std::filesystem::path& file, int size) {
  if (!std::filesystem::exists(file)) {
    image.clear();
    return;
  }
  image.set_pixel_size(size);
  image.set(Gtk::IconPaintable::create(Gio::File::create_for_path(file.string()), size,
                                       image.get_scale_factor()));
}

}  // namespace orvane
