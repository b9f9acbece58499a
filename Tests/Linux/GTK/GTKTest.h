#pragma once

#include <memory>

#include <gtest/gtest.h>
#include <gtkmm/init.h>
#include <gtkmm/window.h>

#include "Tests/EndToEnd/VirtualDisplay.h"
#include "Tests/Support/MainLoop.h"

namespace orvane::test {

/// A test with a screen that nobody sees.
class GTKTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(VirtualDisplay::ofThisProcess().isReady());
    Gtk::init_gtkmm_internals();
    window = std::make_unique<Gtk::Window>();
    window->set_default_size(200, 300);
  }
  void TearDown() override { window.reset(); }

  /// Shows the window with the widget in it.
  void show(Gtk::Widget& widget) {
    window->set_child(widget);
    window->present();
    loop.runUntil([&] { return window->get_mapped(); });
  }

  MainLoop loop;
  std::unique_ptr<Gtk::Window> window;
};

/// As if the user had pressed the button.
inline void press(Gtk::Widget& button) { g_signal_emit_by_name(button.gobj(), "clicked"); }

/// The first controller of that kind that the widget has.
inline GtkEventController* controllerOf(Gtk::Widget& widget, GType kind) {
  auto* controllers = gtk_widget_observe_controllers(widget.gobj());
  GtkEventController* found = nullptr;
  for (guint index = 0; found == nullptr; ++index) {
    auto* controller = static_cast<GtkEventController*>(g_list_model_get_item(controllers, index));
    if (controller == nullptr) break;
    if (g_type_is_a(G_OBJECT_TYPE(controller), kind) != FALSE) found = controller;
    g_object_unref(controller);
  }
  g_object_unref(controllers);
  return found;
}

}  // namespace orvane::test
