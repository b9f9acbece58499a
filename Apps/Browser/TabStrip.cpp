#include "Apps/Browser/TabStrip.h"

#include <algorithm>
#include <utility>

#include "Apps/Browser/Controls.h"

namespace orvane {

/// A tab and what the strip shows of it.
struct TabStrip::Entry {
  Entry(std::unique_ptr<Tab> shown, const std::function<void(Tab&)>& closeRequested)
      : tab(std::move(shown)) {
    constexpr int shortestTitle = 4;
    title.set_ellipsize(Pango::EllipsizeMode::END);
    title.set_width_chars(shortestTitle);
    title.set_hexpand(true);
    setUpIconButton(close, "window-close-symbolic", "Close the tab");
    close.add_css_class("tab-close");
    close.set_focus_on_click(false);
    close.signal_clicked().connect([this, closeRequested] { closeRequested(*tab); });
    const auto middleClick = Gtk::GestureClick::create();
    middleClick->set_button(GDK_BUTTON_MIDDLE);
    middleClick->signal_released().connect(
        [this, closeRequested](int, double, double) { closeRequested(*tab); });
    label.add_controller(middleClick);
    label.set_spacing(6);
    label.append(spinner);
    label.append(title);
    label.append(close);
  }

  std::unique_ptr<Tab> tab;
  Gtk::Box label;
  Gtk::Spinner spinner;
  Gtk::Label title;
  Gtk::Button close;
};

TabStrip::TabStrip(Observer observer) : observer_(std::move(observer)) {
  notebook_.set_scrollable(true);
  notebook_.set_show_border(false);
  notebook_.set_show_tabs(false);
  notebook_.set_expand(true);
  notebook_.add_css_class("tabs");
  setUpIconButton(newTab_, "list-add-symbolic", "Open a new tab (Ctrl+T)");
  newTab_.signal_clicked().connect([this] { observer_.newTabRequested(); });
  notebook_.set_action_widget(&newTab_, Gtk::PackType::END);
  notebook_.signal_switch_page().connect([this](Gtk::Widget*, guint) { observer_.frontChanged(); });
}

TabStrip::~TabStrip() {
  observer_.frontChanged = [] {};
  while (!tabs_.empty()) static_cast<void>(take(*tabs_.back()->tab));
}

void TabStrip::add(std::unique_ptr<Tab> tab, Tab* neighbour) {
  auto place = tabs_.end();
  if (neighbour != nullptr) {
    place = std::find_if(tabs_.begin(), tabs_.end(),
                         [&](const auto& entry) { return entry->tab.get() == neighbour; });
    if (place != tabs_.end()) ++place;
  }
  auto& added =
      **tabs_.insert(place, std::make_unique<Entry>(std::move(tab), observer_.closeRequested));
  const auto index = std::find_if(tabs_.begin(), tabs_.end(),
                                  [&](const auto& entry) { return entry.get() == &added; }) -
                     tabs_.begin();
  notebook_.insert_page(added.tab->widget(), added.label, static_cast<int>(index));
  notebook_.set_tab_reorderable(added.tab->widget(), false);
  g_object_set(notebook_.get_page(added.tab->widget())->gobj(), "tab-expand", TRUE, nullptr);
  update(*added.tab);
  showOrHideStrip();
  bringToFront(*added.tab);
}

std::unique_ptr<Tab> TabStrip::take(Tab& tab) {
  const auto place = std::find_if(tabs_.begin(), tabs_.end(),
                                  [&](const auto& entry) { return entry->tab.get() == &tab; });
  if (place == tabs_.end()) return nullptr;
  const auto entry = std::move(*place);
  tabs_.erase(place);
  notebook_.remove_page(entry->tab->widget());
  showOrHideStrip();
  observer_.frontChanged();
  return std::move(entry->tab);
}

void TabStrip::update(Tab& tab) {
  auto* entry = entryOf(tab);
  if (entry == nullptr) return;
  const auto title = tab.title();
  entry->title.set_text(title);
  entry->label.set_tooltip_text(title);
  entry->spinner.set_visible(tab.isLoading());
  entry->spinner.set_spinning(tab.isLoading());
}

Tab* TabStrip::front() {
  const auto* widget = notebook_.get_nth_page(notebook_.get_current_page());
  const auto found = std::find_if(tabs_.begin(), tabs_.end(), [&](const auto& entry) {
    return &entry->tab->widget() == widget;
  });
  return found == tabs_.end() ? nullptr : (*found)->tab.get();
}

Tab* TabStrip::at(std::size_t index) {
  return index < tabs_.size() ? tabs_[index]->tab.get() : nullptr;
}

Tab* TabStrip::withToken(std::string_view token) {
  const auto found = std::find_if(tabs_.begin(), tabs_.end(),
                                  [&](const auto& entry) { return entry->tab->token() == token; });
  return found == tabs_.end() ? nullptr : (*found)->tab.get();
}

void TabStrip::bringToFront(Tab& tab) {
  notebook_.set_current_page(notebook_.page_num(tab.widget()));
}

void TabStrip::moveFront(int places) {
  const auto count = static_cast<int>(tabs_.size());
  if (count == 0) return;
  notebook_.set_current_page(((notebook_.get_current_page() + places) % count + count) % count);
}

TabStrip::Entry* TabStrip::entryOf(const Tab& tab) {
  const auto found = std::find_if(tabs_.begin(), tabs_.end(),
                                  [&](const auto& entry) { return entry->tab.get() == &tab; });
  return found == tabs_.end() ? nullptr : found->get();
}

void TabStrip::showOrHideStrip() { notebook_.set_show_tabs(tabs_.size() > 1); }

}  // namespace orvane
