#include "Apps/Browser/HeaderBar.h"

#include <string>
#include <string_view>

#include "Apps/Browser/Controls.h"

namespace orvane {
namespace {

struct MenuEntry {
  const char* label;
  const char* action;
  const char* keys;
};

Glib::RefPtr<Gio::Menu> makeSection(std::initializer_list<MenuEntry> entries) {
  auto section = Gio::Menu::create();
  for (const auto& entry : entries) {
    const auto item = Gio::MenuItem::create(entry.label, entry.action);
    item->set_attribute_value("accel", Glib::Variant<Glib::ustring>::create(entry.keys));
    section->append_item(item);
  }
  return section;
}

Glib::RefPtr<Gio::Menu> makeMenu() {
  auto menu = Gio::Menu::create();
  menu->append_section(makeSection({{"New Tab", "browser.new-tab", "<Control>t"},
                                    {"Find on Page", "browser.find", "<Control>f"}}));
  menu->append_section(makeSection({{"Zoom In", "browser.zoom-in", "<Control>plus"},
                                    {"Zoom Out", "browser.zoom-out", "<Control>minus"},
                                    {"Zoom to 100 %", "browser.zoom-reset", "<Control>0"}}));
  menu->append_section(makeSection({{"Settings", "browser.settings", "<Control>comma"},
                                    {"Quit", "browser.quit", "<Control>q"}}));
  return menu;
}

/// Where the desktop wants which buttons of a window, without those of its size.
std::string layoutWithoutSizeButtons() {
  std::string layout = Gtk::Settings::get_default()->property_gtk_decoration_layout().get_value();
  for (const std::string_view button : {"minimize", "maximize"}) {
    if (const auto at = layout.find(button); at != std::string::npos)
      layout.erase(at, button.size());
  }
  return layout;
}

}  // namespace

HeaderBar::HeaderBar(AddressEntry& address, ToolbarItem& toolbarItem, const Observer& observer) {
  setUpIconButton(back_, "go-previous-symbolic", "Go back (Alt+Left)");
  setUpIconButton(forward_, "go-next-symbolic", "Go forward (Alt+Right)");
  setUpIconButton(reload_, "view-refresh-symbolic", "Load the page again (Ctrl+R)");
  back_.signal_clicked().connect(observer.back);
  forward_.signal_clicked().connect(observer.forward);
  reload_.signal_clicked().connect(observer.reloadOrStop);
  menu_.set_icon_name("open-menu-symbolic");
  menu_.set_menu_model(makeMenu());
  menu_.set_tooltip_text("Menu (F10)");
  menu_.set_primary(true);
  setAccessibleLabel(menu_, "Menu");
  menu_.set_has_frame(false);
  toolbarItem.set_has_frame(false);
  address.set_valign(Gtk::Align::CENTER);
  // As the title alone the address would have the same room on both sides.
  box_.add_css_class("controls");
  for (auto* controls : {&startControls_, &endControls_}) {
    controls->set_visible(!controls->get_empty());
    controls->property_empty().signal_changed().connect(
        [controls] { controls->set_visible(!controls->get_empty()); });
  }
  box_.set_hexpand(true);
  for (Gtk::Widget* widget :
       std::initializer_list<Gtk::Widget*>{&startControls_, &back_, &forward_, &reload_, &address,
                                           &toolbarItem, &menu_, &endControls_}) {
    box_.append(*widget);
  }
  set_show_title_buttons(false);
  set_title_widget(box_);
}

void HeaderBar::update(const Tab& tab) {
  back_.set_sensitive(tab.canGoBack());
  canGoForward_ = tab.canGoForward();
  forward_.set_sensitive(canGoForward_);
  showOrHideForward();
  reload_.set_sensitive(tab.isLoading() || !tab.url().empty());
  if (tab.isLoading()) {
    setUpIconButton(reload_, "process-stop-symbolic", "Stop loading (Escape)");
  } else {
    setUpIconButton(reload_, "view-refresh-symbolic", "Load the page again (Ctrl+R)");
  }
}

void HeaderBar::setNarrow(bool isNarrow) {
  if (isNarrow == isNarrow_) return;
  isNarrow_ = isNarrow;
  for (auto* controls : {&startControls_, &endControls_}) {
    if (isNarrow) {
      controls->set_decoration_layout(layoutWithoutSizeButtons());
    } else {
      gtk_window_controls_set_decoration_layout(controls->gobj(), nullptr);
    }
  }
  showOrHideForward();
}

void HeaderBar::showOrHideForward() { forward_.set_visible(!isNarrow_ || canGoForward_); }

}  // namespace orvane
