#include "Linux/GTK/AlertDialog.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <glibmm/main.h>
#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <sigc++/trackable.h>

#include "Linux/GTK/ScalableImage.h"

namespace orvane {
namespace {

constexpr int margin = 24;
constexpr int spacing = 12;
constexpr int imageSize = 96;
constexpr int widestText = 44;  // in characters

Gtk::Label& makeLabel(const std::string& text, const char* cssClass) {
  auto& label = *Gtk::make_managed<Gtk::Label>(text);
  label.add_css_class(cssClass);
  label.set_wrap();
  label.set_max_width_chars(widestText);
  label.set_justify(Gtk::Justification::CENTER);
  return label;
}

/// One alert on the screen.
class AlertDialog {
 public:
  /// `dismissed` is called once, later than whatever the user did. It may end the dialog.
  AlertDialog(const NSAlert& alert, const std::filesystem::path& resources, Gtk::Window* parent,
              std::function<void()> dismissed);
  AlertDialog(const AlertDialog&) = delete;
  AlertDialog& operator=(const AlertDialog&) = delete;
  ~AlertDialog() { later_.disconnect(); }

  void present() { window_.present(); }

 private:
  void addButtons(const std::vector<std::string>& titles);
  void closeOnEscape();
  bool dismiss();

  std::function<void()> dismissed_;
  sigc::connection later_;
  Gtk::Window window_;
  Gtk::Box content_{Gtk::Orientation::VERTICAL, spacing};
};

AlertDialog::AlertDialog(const NSAlert& alert, const std::filesystem::path& resources,
                         Gtk::Window* parent, std::function<void()> dismissed)
    : dismissed_(std::move(dismissed)) {
  if (parent != nullptr) window_.set_transient_for(*parent);
  window_.set_modal();
  window_.set_resizable(false);
  window_.set_title(alert.messageText);
  content_.set_margin(margin);
  auto& image = *Gtk::make_managed<Gtk::Image>();
  setScalableImage(image, resources / (alert.icon + ".svg"), imageSize);
  content_.append(image);
  content_.append(makeLabel(alert.messageText, "title-2"));
  content_.append(makeLabel(alert.informativeText, "body"));
  addButtons(alert.buttonTitles);
  window_.set_child(content_);
  closeOnEscape();
  window_.signal_close_request().connect([this] { return dismiss(); }, false);
}

void AlertDialog::addButtons(const std::vector<std::string>& titles) {
  auto& box = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
  box.set_halign(Gtk::Align::CENTER);
  box.set_margin_top(spacing);
  for (const auto& title : titles) {
    auto& button = *Gtk::make_managed<Gtk::Button>(title);
    button.signal_clicked().connect([this] { window_.close(); });
    box.append(button);
    if (&title != &titles.front()) continue;
    button.add_css_class("suggested-action");
    window_.set_default_widget(button);
  }
  content_.append(box);
}

void AlertDialog::closeOnEscape() {
  const auto keys = Gtk::EventControllerKey::create();
  keys->signal_key_pressed().connect(
      [this](guint key, guint, Gdk::ModifierType) {
        if (key != GDK_KEY_Escape) return false;
        window_.close();
        return true;
      },
      false);
  window_.add_controller(keys);
}

/// GTK is not to destroy the window, which is part of this object.
bool AlertDialog::dismiss() {
  window_.set_visible(false);
  if (!later_.connected()) {
    later_ = Glib::signal_idle().connect([dismissed = dismissed_] {
      dismissed();
      return false;
    });
  }
  return true;
}

/// The alerts of one parent.
class Alerts : public sigc::trackable {
 public:
  Alerts(Gtk::Window& parent, std::filesystem::path resources)
      : parent_(&parent), resources_(std::move(resources)) {
    parent.signal_destroy().connect(sigc::mem_fun(*this, &Alerts::loseParent));
  }

  void run(const NSAlert& alert, std::function<void()> completion) {
    const int number = ++count_;
    const auto dismissed = [this, number, completion = std::move(completion)] {
      // The completion may end these alerts, and this function with them.
      const auto complete = completion;
      dialogs_.erase(number);
      complete();
    };
    dialogs_.try_emplace(number, alert, resources_, parent_, dismissed).first->second.present();
  }

 private:
  void loseParent() {
    parent_ = nullptr;
    dialogs_.clear();
  }

  Gtk::Window* parent_;
  std::filesystem::path resources_;
  std::map<int, AlertDialog> dialogs_;
  int count_ = 0;
};

}  // namespace

RunAlertModal makeRunAlertModal(Gtk::Window& parent, const std::filesystem::path& resources) {
  return [alerts = std::make_shared<Alerts>(parent, resources)](const NSAlert& alert,
                                                                std::function<void()> completion) {
    alerts->run(alert, std::move(completion));
  };
}

}  // namespace orvane
