#include "Apps/Browser/ToolbarItem.h"

#include <utility>

#include "Apps/Browser/Controls.h"

namespace orvane {

ToolbarItem::ToolbarItem(Executor& mainQueue, SFSafariExtensionHandler& handler,
                         std::shared_ptr<SFSafariWindow> window, OpenPopover openPopover)
    : mainQueue_(mainQueue),
      handler_(handler),
      window_(std::move(window)),
      openPopover_(std::move(openPopover)) {
  icon_.set_from_icon_name("orvane-symbolic");
  badge_.add_css_class("badge");
  badge_.set_halign(Gtk::Align::END);
  badge_.set_valign(Gtk::Align::END);
  badge_.set_visible(false);
  overlay_.set_child(icon_);
  overlay_.add_overlay(badge_);
  set_child(overlay_);
  add_css_class("toolbar-item");
  show(true, "");
  signal_clicked().connect(sigc::mem_fun(*this, &ToolbarItem::click));
}

void ToolbarItem::setNeedsValidation() {
  if (std::exchange(needsValidation_, true)) return;
  mainQueue_.post([this, lifetime = std::weak_ptr(lifetime_)] {
    if (!lifetime.expired()) validate();
  });
}

void ToolbarItem::validate() {
  needsValidation_ = false;
  handler_.validateToolbarItemInWindow(*window_, [this, lifetime = std::weak_ptr(lifetime_)](
                                                     bool isEnabled, const std::string& badge) {
    if (!lifetime.expired()) show(isEnabled, badge);
  });
}

void ToolbarItem::show(bool isEnabled, const std::string& badge) {
  set_sensitive(isEnabled);
  badge_.set_text(badge);
  badge_.set_visible(!badge.empty());
  const auto* name = "Orvane (Ctrl+Shift+E)";
  set_tooltip_text(name);
  setAccessibleLabel(*this, badge.empty() ? "Orvane" : "Orvane, " + badge);
}

void ToolbarItem::click() {
  handler_.toolbarItemClickedInWindow(*window_);
  openPopover_(handler_.popoverViewController());
}

}  // namespace orvane
