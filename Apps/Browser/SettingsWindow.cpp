#include "Apps/Browser/SettingsWindow.h"

#include <utility>

#include "Apps/Browser/Controls.h"

namespace orvane {
namespace {

const char* iconOf(BlockingStatus::Kind kind) {
  switch (kind) {
    case BlockingStatus::Kind::working:
      return "object-select-symbolic";
    case BlockingStatus::Kind::off:
      return "media-playback-pause-symbolic";
    case BlockingStatus::Kind::waiting:
      return "content-loading-symbolic";
    case BlockingStatus::Kind::failing:
      break;
  }
  return "dialog-warning-symbolic";
}

void wrap(Gtk::Label& label) {
  label.set_wrap(true);
  label.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
  label.set_xalign(0);
  label.set_hexpand(true);
}

/// A row that cannot be chosen: what is in it can.
Gtk::ListBoxRow& addRow(Gtk::ListBox& list, Gtk::ListBoxRow& row, Gtk::Widget& child) {
  row.set_child(child);
  row.set_activatable(false);
  row.set_selectable(false);
  row.set_focusable(false);
  list.append(row);
  return row;
}

Gtk::Box& makeRowBox() {
  auto& box = *Gtk::make_managed<Gtk::Box>();
  box.set_spacing(12);
  box.add_css_class("settings-row");
  return box;
}

}  // namespace

SettingsWindow::SettingsWindow(Gtk::Window& parent, Setter setEnabled)
    : setEnabled_(std::move(setEnabled)) {
  constexpr int width = 480;
  constexpr int height = 420;
  set_title("Settings");
  set_titlebar(header_);
  set_transient_for(parent);
  set_hide_on_close(true);
  set_default_size(width, height);
  addShortcuts(*this, {{"Escape|<Control>w", [this] {
                          close();
                          return true;
                        }}});

  auto& heading = *Gtk::make_managed<Gtk::Label>("Content Blocker");
  heading.set_xalign(0);
  heading.add_css_class("settings-heading");
  list_.set_selection_mode(Gtk::SelectionMode::NONE);
  list_.add_css_class("settings-list");
  addSwitchRow();
  addStatusRow();
  addFact("Rules in force", rulesRow_, rules_);
  addFact("List made", compiledRow_, compiled_);
  wrap(problem_);
  problem_.add_css_class("error");
  problem_.set_visible(false);
  content_.add_css_class("settings");
  content_.set_spacing(12);
  content_.append(heading);
  content_.append(list_);
  content_.append(problem_);
  scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
  scroller_.set_child(content_);
  set_child(scroller_);
}

void SettingsWindow::addSwitchRow() {
  auto& box = makeRowBox();
  auto& label = *Gtk::make_managed<Gtk::Label>("Block content on pages");
  wrap(label);
  label.set_mnemonic_widget(switch_);
  setAccessibleLabel(switch_, "Block content on pages");
  switch_.set_valign(Gtk::Align::CENTER);
  switch_.signal_state_set().connect([this](bool enabled) { return switched(enabled); }, false);
  box.append(label);
  box.append(switch_);
  addRow(list_, *Gtk::make_managed<Gtk::ListBoxRow>(), box);
}

void SettingsWindow::addStatusRow() {
  auto& box = makeRowBox();
  auto& texts = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
  texts.set_spacing(4);
  wrap(title_);
  title_.add_css_class("heading");
  wrap(explanation_);
  explanation_.add_css_class("dim-label");
  texts.append(title_);
  texts.append(explanation_);
  icon_.set_valign(Gtk::Align::START);
  box.append(icon_);
  box.append(texts);
  addRow(list_, *Gtk::make_managed<Gtk::ListBoxRow>(), box);
}

void SettingsWindow::addFact(const Glib::ustring& name, Gtk::ListBoxRow& row, Gtk::Label& value) {
  auto& box = makeRowBox();
  auto& label = *Gtk::make_managed<Gtk::Label>(name);
  wrap(label);
  value.add_css_class("dim-label");
  box.append(label);
  box.append(value);
  addRow(list_, row, box);
}

void SettingsWindow::update(const BlockingFacts& facts) {
  const auto status = blockingStatus(facts);
  isUpdating_ = true;
  switch_.set_active(facts.isEnabled.value_or(true));
  isUpdating_ = false;
  icon_.set_from_icon_name(iconOf(status.kind));
  title_.set_text(status.title);
  explanation_.set_text(status.explanation);
  rules_.set_text(status.rules);
  rulesRow_.set_visible(!status.rules.empty());
  compiled_.set_text(status.compiled);
  compiledRow_.set_visible(!status.compiled.empty());
}

/// Whether the switch is to stay as it is.
bool SettingsWindow::switched(bool enabled) {
  if (isUpdating_) return false;
  const auto written = setEnabled_(enabled);
  problem_.set_visible(!written.has_value());
  if (!written) {
    problem_.set_text("This setting cannot be changed: " + written.error().localizedDescription);
    isUpdating_ = true;
    switch_.set_active(!enabled);
    isUpdating_ = false;
  }
  return !written;
}

}  // namespace orvane
