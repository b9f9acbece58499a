#include "Linux/GTK/WidgetStyle.h"

#include <gtkmm/stylecontext.h>

namespace orvane {
namespace {

constexpr guint priority = GTK_STYLE_PROVIDER_PRIORITY_APPLICATION + 1;

}  // namespace

WidgetStyle::WidgetStyle(Gtk::Widget& widget) : widget_(widget) {
  widget.get_style_context()->add_provider(provider_, priority);
}

WidgetStyle::~WidgetStyle() { widget_.get_style_context()->remove_provider(provider_); }

void WidgetStyle::set(const std::string& declarations) {
  provider_->load_from_data("* {" + declarations + "}");
}

}  // namespace orvane
