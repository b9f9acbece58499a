#include "Tests/Linux/GTK/Picture.h"

#include <cstring>

#include <gtkmm/native.h>

namespace orvane::test {
namespace {

/// Returns after a frame that began after the call. It draws what asked for it.
void drawFrame(Gtk::Widget& widget) {
  bool isDrawn = false;
  auto* clock = gtk_widget_get_frame_clock(widget.gobj());
  const gulong handler = g_signal_connect_swapped(
      clock, "after-paint", G_CALLBACK(+[](bool* drawn) { *drawn = true; }), &isDrawn);
  gdk_frame_clock_request_phase(clock, GDK_FRAME_CLOCK_PHASE_PAINT);
  while (!isDrawn) g_main_context_iteration(nullptr, TRUE);
  g_signal_handler_disconnect(clock, handler);
}

}  // namespace

Picture Picture::of(Gtk::Widget& widget) {
  drawFrame(widget);
  auto* paintable = gtk_widget_paintable_new(widget.gobj());
  Picture picture(gdk_paintable_get_intrinsic_width(paintable),
                  gdk_paintable_get_intrinsic_height(paintable));
  auto* snapshot = gtk_snapshot_new();
  gdk_paintable_snapshot(paintable, snapshot, picture.width_, picture.height_);
  g_object_unref(paintable);
  auto* node = gtk_snapshot_free_to_node(snapshot);
  if (node == nullptr) return picture;
  const graphene_rect_t bounds{
      {0, 0}, {static_cast<float>(picture.width_), static_cast<float>(picture.height_)}};
  auto* renderer = gtk_native_get_renderer(gtk_widget_get_native(widget.gobj()));
  auto* texture = gsk_renderer_render_texture(renderer, node, &bounds);
  gsk_render_node_unref(node);
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): pixels are handed out as bytes
  gdk_texture_download(texture, reinterpret_cast<guchar*>(picture.pixels_.data()),
                       static_cast<std::size_t>(picture.width_) * sizeof(std::uint32_t));
  g_object_unref(texture);
  return picture;
}

Picture Picture::of(const Cairo::RefPtr<Cairo::ImageSurface>& surface) {
  surface->flush();
  Picture picture(surface->get_width(), surface->get_height());
  for (int y = 0; y < picture.height_; ++y) {
    std::memcpy(&picture.pixels_[static_cast<std::size_t>(y * picture.width_)],
                surface->get_data() + static_cast<std::ptrdiff_t>(y) * surface->get_stride(),
                static_cast<std::size_t>(picture.width_) * sizeof(std::uint32_t));
  }
  return picture;
}

}  // namespace orvane::test
