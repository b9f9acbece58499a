#include "Apps/Demonstration/Picture.h"

#include <algorithm>
#include <memory>

#include <cairo.h>
#include <fmt/format.h>

#include "Apps/Demonstration/AsyncResult.h"

namespace orvane {
namespace {

constexpr int margin = 28;
constexpr int captionHeight = 58;

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

Surface blankSurface(int width, int height) {
  return {cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), cairo_surface_destroy};
}

Surface surfaceOf(GdkTexture* texture) {
  Surface surface = blankSurface(gdk_texture_get_width(texture), gdk_texture_get_height(texture));
  gdk_texture_download(texture, cairo_image_surface_get_data(surface.get()),
                       static_cast<gsize>(cairo_image_surface_get_stride(surface.get())));
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

void drawCaption(cairo_t* context, const std::string& caption, int x) {
  cairo_select_font_face(context, "sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_set_font_size(context, 24);
  cairo_set_source_rgb(context, 0.07, 0.19, 0.31);
  cairo_move_to(context, x, margin + 24);
  cairo_show_text(context, caption.c_str());
}

void draw(cairo_t* context, const CaptionedPicture& picture, int x, int height) {
  drawCaption(context, picture.caption, x);
  const int top = margin + captionHeight - 10;
  const Surface surface = surfaceOf(picture.texture);
  cairo_rectangle(context, x, top, gdk_texture_get_width(picture.texture), height);
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_fill_preserve(context);
  cairo_set_source_rgb(context, 0.7, 0.75, 0.8);
  cairo_set_line_width(context, 2);
  cairo_stroke(context);
  cairo_set_source_surface(context, surface.get(), x, top);
  cairo_paint(context);
}

}  // namespace

Expected<void> writeSideBySide(const CaptionedPicture& left, const CaptionedPicture& right,
                               const std::filesystem::path& file) {
  const int leftWidth = gdk_texture_get_width(left.texture);
  const int height =
      std::max(gdk_texture_get_height(left.texture), gdk_texture_get_height(right.texture));
  const Surface surface =
      blankSurface(3 * margin + leftWidth + gdk_texture_get_width(right.texture),
                   2 * margin + captionHeight + height - 10);
  const Context context(cairo_create(surface.get()), cairo_destroy);
  cairo_set_source_rgb(context.get(), 0.9, 0.925, 0.945);
  cairo_paint(context.get());
  draw(context.get(), left, margin, height);
  draw(context.get(), right, 2 * margin + leftWidth, height);
  const cairo_status_t status = cairo_surface_write_to_png(surface.get(), file.c_str());
  if (status == CAIRO_STATUS_SUCCESS) return {};
  return tl::unexpected(demonstrationError(fmt::format(
      "The picture '{}' cannot be written: {}", file.string(), cairo_status_to_string(status))));
}

}  // namespace orvane
