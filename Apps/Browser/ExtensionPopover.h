#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include <gtkmm/cssprovider.h>
#include <gtkmm/popover.h>
#include <sigc++/trackable.h>

#include "Linux/GTK/InterfaceFile.h"
#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSWindow.h"
#include "SafariExtension/Extension/SafariExtensionViewController.h"

namespace orvane {

/// The extension's popover on the screen: shows the views of its controller, and has its controls
/// call the controller. Main queue.
class ExtensionPopover final : public NSWindow, public sigc::trackable {
 public:
  /// Lays the views out as the interface file says, and tells the controller that they have loaded.
  /// Style and images are read from the folder of that file; an error when a file cannot be read or
  /// does not fit the controller. The popover points at `parent`; when that widget is destroyed the
  /// popover is closed for good. The controller outlives the popover, which is the only one that
  /// shows it.
  static Expected<std::unique_ptr<ExtensionPopover>> load(
      SafariExtensionViewController& controller, const std::filesystem::path& interfaceFile,
      Gtk::Widget& parent);
  ~ExtensionPopover() override;

  /// Does nothing while it is open or `parent` is not on the screen.
  void open();
  void close() override;
  bool isOpen() const { return popover_.get_visible(); }

  /// A view that is hidden gets the keys as soon as it is shown.
  void makeFirstResponder(NSView& view) override;

 private:
  /// What shows a view.
  struct Outlet {
    Gtk::Widget* widget;
    std::unique_ptr<ViewMirror> mirror;
  };
  using Outlets = std::map<const NSView*, Outlet>;
  class OutletLoader;

  explicit ExtensionPopover(SafariExtensionViewController& controller);

  Expected<void> loadInterface(const std::filesystem::path& file);
  Expected<void> loadStyle(const std::filesystem::path& file);
  Expected<void> loadOutlets();
  Expected<void> loadImages(const std::filesystem::path& folder);
  void addTo(Gtk::Widget& parent);
  void loseParent();
  void focusMainPanel();
  void focusFirstResponder();
  void forgetWindow();

  SafariExtensionViewController& controller_;
  std::optional<InterfaceFile> interface_;
  Glib::RefPtr<Gtk::CssProvider> style_ = Gtk::CssProvider::create();
  Gtk::Widget* parent_ = nullptr;
  Gtk::Popover popover_;
  Gtk::Widget* firstResponder_ = nullptr;
  sigc::connection firstResponderShown_;
  Outlets outlets_;
};

}  // namespace orvane
