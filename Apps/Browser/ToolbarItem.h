#pragma once

#include <functional>
#include <memory>

#include <gtkmm.h>

#include "Platform/Foundation/Executor.h"
#include "Platform/SafariServices/SFSafariExtensionHandler.h"

namespace orvane {

/// The extension's button in a window, with its badge. Main queue.
class ToolbarItem final : public Gtk::Button {
 public:
  /// Opens the popover at the button.
  using OpenPopover = std::function<void(SFSafariExtensionViewController&)>;

  /// `mainQueue` and `handler` outlive the item.
  ToolbarItem(Executor& mainQueue, SFSafariExtensionHandler& handler,
              std::shared_ptr<SFSafariWindow> window, OpenPopover openPopover);

  /// Has the handler say later how the item is to look; several times before that count as one.
  void setNeedsValidation();
  void click();
  std::string badge() const { return badge_.get_visible() ? badge_.get_text().raw() : ""; }

 private:
  void validate();
  void show(bool isEnabled, const std::string& badge);

  Executor& mainQueue_;
  SFSafariExtensionHandler& handler_;
  std::shared_ptr<SFSafariWindow> window_;
  OpenPopover openPopover_;
  Gtk::Overlay overlay_;
  Gtk::Image icon_;
  Gtk::Label badge_;
  bool needsValidation_ = false;
  std::shared_ptr<void> lifetime_ = std::make_shared<char>();
};

}  // namespace orvane
