#include "Apps/Browser/FindBar.h"

#include <limits>
#include <utility>

#include <fmt/format.h>

#include "Apps/Browser/Controls.h"

namespace orvane {
namespace {

constexpr auto options =
    static_cast<guint32>(WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE | WEBKIT_FIND_OPTIONS_WRAP_AROUND);

}  // namespace

FindBar::FindBar(WebKitWebView* view, std::function<void()> closed)
    : controller_(webkit_web_view_get_find_controller(view)), closed_(std::move(closed)) {
  setUpIconButton(previous_, "go-up-symbolic", "Previous match");
  setUpIconButton(next_, "go-down-symbolic", "Next match");
  setUpIconButton(close_, "window-close-symbolic", "Close the find bar");
  entry_.set_hexpand(true);
  entry_.set_width_chars(6);
  entry_.set_max_width_chars(40);
  entry_.set_placeholder_text("Find on this page");
  entry_.set_icon_from_icon_name("edit-find-symbolic");
  setAccessibleLabel(entry_, "Find on this page");
  result_.add_css_class("dim-label");
  add_css_class("find-bar");
  set_spacing(6);
  append(entry_);
  append(result_);
  for (auto* button : {&previous_, &next_, &close_}) append(*button);
  set_visible(false);

  entry_.signal_changed().connect(sigc::mem_fun(*this, &FindBar::find));
  entry_.signal_activate().connect(sigc::mem_fun(*this, &FindBar::findNext));
  previous_.signal_clicked().connect(sigc::mem_fun(*this, &FindBar::findPrevious));
  next_.signal_clicked().connect(sigc::mem_fun(*this, &FindBar::findNext));
  close_.signal_clicked().connect(sigc::mem_fun(*this, &FindBar::close));
  addShortcuts(*this, {{"<Shift>Return",
                        [this] {
                          findPrevious();
                          return true;
                        }},
                       {"Escape", [this] {
                          close();
                          return true;
                        }}});

  const auto found = [](WebKitFindController*, guint count, gpointer self) {
    static_cast<FindBar*>(self)->showMatches(count);
  };
  const auto missing = [](WebKitFindController*, gpointer self) {
    static_cast<FindBar*>(self)->showMatches(0);
  };
  g_signal_connect(controller_, "found-text", G_CALLBACK(+found), this);
  g_signal_connect(controller_, "failed-to-find-text", G_CALLBACK(+missing), this);
}

FindBar::~FindBar() { g_signal_handlers_disconnect_by_data(controller_, this); }

/// A match that is found now would take the selection from the entry, so that what is typed next
/// would not take the place of the text that is there.
void FindBar::open() {
  set_visible(true);
  entry_.grab_focus();
  entry_.select_region(0, -1);
}

void FindBar::close() {
  if (!isOpen()) return;
  set_visible(false);
  webkit_find_controller_search_finish(controller_);
  hasSearched_ = false;
  show("", false);
  closed_();
}

void FindBar::find() {
  show("", false);
  const auto text = entry_.get_text();
  hasSearched_ = !text.empty();
  if (text.empty()) return webkit_find_controller_search_finish(controller_);
  webkit_find_controller_search(controller_, text.c_str(), options,
                                std::numeric_limits<guint>::max());
}

void FindBar::findNext() {
  if (!hasSearched_) return find();
  webkit_find_controller_search_next(controller_);
}

void FindBar::findPrevious() {
  if (!hasSearched_) return find();
  webkit_find_controller_search_previous(controller_);
}

/// The answer to a search may come after the bar was closed or emptied.
void FindBar::showMatches(unsigned count) {
  if (!hasSearched_) return;
  if (count == 0) return show("No matches", true);
  show(count == 1 ? "1 match" : fmt::format("{} matches", count), false);
}

void FindBar::show(const Glib::ustring& result, bool isMissing) {
  result_.set_text(result);
  if (isMissing) {
    entry_.add_css_class("error");
  } else {
    entry_.remove_css_class("error");
  }
}

}  // namespace orvane
