#include "Apps/Browser/Style.h"

#include <gtkmm.h>

namespace orvane {
namespace {

constexpr const char* style = R"(
.controls { border-spacing: 3px; }
.controls > button, .controls > menubutton > button { padding: 4px; min-width: 20px; }
.controls > windowcontrols > button { min-width: 22px; padding: 4px; margin: 0; }
.notice { background-color: @theme_bg_color; }
.notice-title { font-size: 170%; font-weight: 800; }
.notice-text { font-size: 110%; }
.notice-button { padding: 8px 24px; border-radius: 999px; margin-top: 6px; }
.find-bar { padding: 6px; border-top: 1px solid @borders; }
.message-bar { padding: 6px 6px 6px 12px; border-bottom: 1px solid @borders;
               background-color: mix(@theme_bg_color, @theme_selected_bg_color, 0.18); }
.link-target { padding: 3px 8px; font-size: 90%; border-top-right-radius: 6px;
               background-color: @theme_bg_color; color: @theme_fg_color; }
.settings { padding: 18px; }
.settings-heading { font-weight: 800; }
.settings-list { border-radius: 10px; border: 1px solid @borders; }
.settings-list > row { padding: 0; }
.settings-list > row:not(:first-child) { border-top: 1px solid @borders; }
.settings-row { padding: 10px 14px; min-height: 28px; }
.heading { font-weight: 700; }
.badge { font-size: 8px; font-weight: 800; padding: 0 3px; border-radius: 4px;
         background-color: @error_color; color: white; }
notebook.tabs > header { padding: 0 2px; }
notebook.tabs > header tab { min-height: 30px; }
notebook.tabs > header > tabs > arrow { padding: 0; margin: 0; border-width: 0; min-height: 0; }
.tab-close { min-width: 20px; min-height: 20px; padding: 0; border-radius: 999px; }
)";

}  // namespace

void loadStyle() {
  const auto provider = Gtk::CssProvider::create();
  provider->load_from_data(style);
  Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), provider,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

}  // namespace orvane
