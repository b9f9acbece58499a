#include "Apps/Browser/ExtensionPopover.h"

#include <optional>
#include <string>
#include <utility>

#include <fmt/format.h>
#include <gtkmm/stylecontext.h>

#include "Linux/GTK/ButtonMirror.h"
#include "Linux/GTK/ClipViewMirror.h"
#include "Linux/GTK/DropDownMirror.h"
#include "Linux/GTK/LabelMirror.h"
#include "Linux/GTK/ScalableImage.h"
#include "Linux/GTK/ScrollerMirror.h"
#include "Linux/GTK/SpinnerMirror.h"
#include "Linux/GTK/StackMirror.h"
#include "Linux/GTK/TextViewMirror.h"

namespace orvane {
namespace {

constexpr const char* styleFile = "Popover.css";
constexpr const char* productImageFile = "orvane.svg";
constexpr int productImageSize = 56;
/// In the style file, everything is about what has this class.
constexpr const char* styleClass = "orvane";
/// Where the screen cannot show one window through another.
constexpr const char* opaqueClass = "opaque";

}  // namespace

/// Gives each view the widget that shows it, until one cannot be had.
class ExtensionPopover::OutletLoader {
 public:
  OutletLoader(const InterfaceFile& interface, Outlets& outlets)
      : interface_(interface), outlets_(outlets) {}

  /// The widget; null once there was an error.
  template <typename Mirror, typename Widget, typename View, typename... Arguments>
  Widget* load(const char* name, View& view, Arguments&&... arguments) {
    if (error_) return nullptr;
    const auto widget = interface_.widget<Widget>(name);
    if (!widget) {
      error_ = widget.error();
      return nullptr;
    }
    outlets_[&view] = {
        *widget, std::make_unique<Mirror>(view, **widget, std::forward<Arguments>(arguments)...)};
    return *widget;
  }

  Expected<void> result() const {
    if (error_) return tl::unexpected(*error_);
    return {};
  }

 private:
  const InterfaceFile& interface_;
  Outlets& outlets_;
  std::optional<NSError> error_;
};

Expected<std::unique_ptr<ExtensionPopover>> ExtensionPopover::load(
    SafariExtensionViewController& controller, const std::filesystem::path& interfaceFile,
    Gtk::Widget& parent) {
  std::unique_ptr<ExtensionPopover> popover(new ExtensionPopover(controller));
  const auto folder = interfaceFile.parent_path();
  const auto loaded = popover->loadInterface(interfaceFile)
                          .and_then([&] { return popover->loadStyle(folder / styleFile); })
                          .and_then([&] { return popover->loadImages(folder); })
                          .and_then([&] { return popover->loadOutlets(); });
  if (!loaded) return tl::unexpected(loaded.error());
  popover->addTo(parent);
  controller.viewDidLoad();
  return popover;
}

ExtensionPopover::ExtensionPopover(SafariExtensionViewController& controller)
    : controller_(controller) {
  popover_.add_css_class(styleClass);
  if (!popover_.get_display()->is_composited()) {
    popover_.add_css_class(opaqueClass);
    popover_.set_has_arrow(false);
  }
  popover_.signal_closed().connect(sigc::mem_fun(*this, &ExtensionPopover::forgetWindow));
}

ExtensionPopover::~ExtensionPopover() {
  if (parent_ != nullptr) loseParent();
  firstResponderShown_.disconnect();
  Gtk::StyleContext::remove_provider_for_display(popover_.get_display(), style_);
}

Expected<void> ExtensionPopover::loadInterface(const std::filesystem::path& file) {
  auto& c = controller_;
  auto interface =
      InterfaceFile::load(file, {{"pause:", [&c] { c.pause(); }},
                                 {"whitelist:", [&c] { c.whitelist(); }},
                                 {"makeHttps:", [&c] { c.makeHttps(); }},
                                 {"enableHideElementMode:", [&c] { c.enableHideElementMode(); }},
                                 {"leaveFeedback:", [&c] { c.leaveFeedback(); }},
                                 {"sendReport:", [&c] { c.sendReport(c.sendButton); }},
                                 {"switchStackViews", [&c] { c.switchStackViews(); }},
                                 {"sendEmailAction:",
                                  [this] {
                                    // It would lie over the alert, which nobody could press then.
                                    close();
                                    controller_.sendEmailAction();
                                  }},
                                 {"launchAppAction:", [&c] { c.launchAppAction(); }}});
  if (!interface) return tl::unexpected(interface.error());
  interface_ = *std::move(interface);
  return {};
}

Expected<void> ExtensionPopover::loadStyle(const std::filesystem::path& file) {
  std::optional<std::string> problem;
  style_->signal_parsing_error().connect(
      [&problem](const auto& /*section*/, const Glib::Error& error) { problem = error.what(); });
  style_->load_from_path(file.string());
  if (problem) {
    return tl::unexpected(
        NSError{styleClass, 1, fmt::format("The style file '{}': {}", file.string(), *problem)});
  }
  Gtk::StyleContext::add_provider_for_display(popover_.get_display(), style_,
                                              GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  return {};
}

Expected<void> ExtensionPopover::loadImages(const std::filesystem::path& folder) {
  const auto image = interface_->widget<Gtk::Image>("productImage");
  if (!image) return tl::unexpected(image.error());
  setScalableImage(**image, folder / productImageFile, productImageSize);
  return {};
}

Expected<void> ExtensionPopover::loadOutlets() {
  OutletLoader outlets(*interface_, outlets_);
  auto& c = controller_;
  auto* icon = outlets.load<ViewMirror, Gtk::Widget>("iconContainer", c.iconContainer);
  outlets.load<ButtonMirror, Gtk::Button>("blockerButton", c.blockerButton);
  outlets.load<SpinnerMirror, Gtk::Spinner>("spinner", c.spinner);
  outlets.load<LabelMirror, Gtk::Label>("statusLabel", c.statusLabel);
  outlets.load<ButtonMirror, Gtk::Button>("pauseButton", c.pauseButton);
  outlets.load<ButtonMirror, Gtk::Button>("whitelistButton", c.whitelistButton);
  outlets.load<ButtonMirror, Gtk::Button>("makeHttpsButton", c.makeHttpsButton);
  outlets.load<ButtonMirror, Gtk::Button>("hideButton", c.hideButton);
  outlets.load<ButtonMirror, Gtk::Button>("feedbackButton", c.feedbackButton);
  outlets.load<DropDownMirror, Gtk::DropDown>("reportReasonSelector", c.reportReasonSelector);
  outlets.load<LabelMirror, Gtk::Label>("reportStatus", c.reportStatus);
  outlets.load<ViewMirror, Gtk::Widget>("commentScrollView", c.commentScrollView);
  auto* clip =
      outlets.load<ClipViewMirror, Gtk::ScrolledWindow>("commentClipView", c.commentClipView);
  outlets.load<TextViewMirror, Gtk::TextView>("reportComments", c.reportComments);
  outlets.load<ButtonMirror, Gtk::Button>("sendButton", c.sendButton);
  outlets.load<ViewMirror, Gtk::Widget>("reportPanel", c.reportPanel);
  auto* mainPanel = outlets.load<ViewMirror, Gtk::Widget>("mainPanel", c.mainPanel);
  auto* stack = outlets.load<StackMirror, Gtk::Box>(
      "stack", c.stack, StackMirror::SpacedViews{{&c.iconContainer, icon}});
  if (stack == nullptr) return outlets.result();
  outlets.load<ScrollerMirror, Gtk::DrawingArea>(
      "commentScroller", c.commentScroller, clip->get_vadjustment(),
      CustomScroller::scrollerWidthForControlSize(NSControlSize::regular, NSScrollerStyle::legacy));
  mainPanel->signal_map().connect(sigc::mem_fun(*this, &ExtensionPopover::focusMainPanel));
  popover_.set_child(*stack);
  return outlets.result();
}

void ExtensionPopover::addTo(Gtk::Widget& parent) {
  parent_ = &parent;
  popover_.set_parent(parent);
  parent.signal_unmap().connect(sigc::mem_fun(*this, &ExtensionPopover::close));
  parent.signal_destroy().connect(sigc::mem_fun(*this, &ExtensionPopover::loseParent));
}

void ExtensionPopover::loseParent() {
  close();
  popover_.unparent();
  parent_ = nullptr;
}

void ExtensionPopover::open() {
  if (isOpen() || parent_ == nullptr || !parent_->get_mapped()) return;
  controller_.view().setWindow(this);
  controller_.viewWillAppear();
  popover_.popup();
}

void ExtensionPopover::close() {
  forgetWindow();
  popover_.popdown();
}

void ExtensionPopover::forgetWindow() { controller_.view().setWindow(nullptr); }

void ExtensionPopover::makeFirstResponder(NSView& view) {
  const auto outlet = outlets_.find(&view);
  if (outlet == outlets_.end()) return;
  firstResponder_ = outlet->second.widget;
  firstResponderShown_.disconnect();
  firstResponderShown_ = firstResponder_->signal_map().connect(
      sigc::mem_fun(*this, &ExtensionPopover::focusFirstResponder));
  if (firstResponder_->get_mapped()) focusFirstResponder();
}

void ExtensionPopover::focusFirstResponder() { firstResponder_->grab_focus(); }

void ExtensionPopover::focusMainPanel() {
  outlets_.at(&controller_.pauseButton).widget->grab_focus();
}

}  // namespace orvane
