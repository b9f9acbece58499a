#include "Tests/EndToEnd/Browsing/Hands.h"

#include <functional>
#include <vector>

#include <gdk/x11/gdkx.h>
// Words of X11 that GoogleTest uses as well.
#undef Bool
#undef None

#include <gtest/gtest.h>

#include "Tests/Support/ProgramRun.h"

namespace orvane::test {
namespace {

using Test = std::function<bool(GtkWidget*)>;

void input(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "xdotool");
  const auto run = runProgram(arguments, "/");
  EXPECT_EQ(run.exitStatus, 0) << run.errors;
}

std::string windowOf(GtkWidget* widget) {
  GdkSurface* surface = gtk_native_get_surface(gtk_widget_get_native(widget));
  return std::to_string(gdk_x11_surface_get_xid(surface));
}

GtkWidget* find(GtkWidget* root, const Test& test) {
  if (test(root)) return root;
  for (auto* child = gtk_widget_get_first_child(root); child != nullptr;
       child = gtk_widget_get_next_sibling(child)) {
    if (auto* found = find(child, test)) return found;
  }
  return nullptr;
}

bool isLabelSaying(GtkWidget* widget, const std::string& text) {
  return GTK_IS_LABEL(widget) && gtk_widget_get_mapped(widget) != FALSE &&
         gtk_label_get_text(GTK_LABEL(widget)) == text;
}

}  // namespace

bool pointAt(GtkWidget* widget, double x, double y) {
  if (gtk_widget_get_mapped(widget) == FALSE) return false;
  GtkNative* native = gtk_widget_get_native(widget);
  double shadowX = 0;
  double shadowY = 0;
  gtk_native_get_surface_transform(native, &shadowX, &shadowY);
  double nativeX = 0;
  double nativeY = 0;
  if (gtk_widget_translate_coordinates(widget, GTK_WIDGET(native), x, y, &nativeX, &nativeY) ==
      FALSE) {
    return false;
  }
  const int scale = gdk_surface_get_scale_factor(gtk_native_get_surface(native));
  const auto pixel = [&](double points) {
    return std::to_string(static_cast<int>(points) * scale);
  };
  input({"mousemove", "--window", windowOf(widget), pixel(nativeX + shadowX),
         pixel(nativeY + shadowY)});
  return true;
}

void pressButton(int button) { input({"click", std::to_string(button)}); }

bool clickOn(GtkWidget* widget, int button) {
  if (!pointAt(widget, gtk_widget_get_width(widget) / 2.0, gtk_widget_get_height(widget) / 2.0)) {
    return false;
  }
  pressButton(button);
  return true;
}

void pressKeys(GtkWidget* widget, const std::string& keys) {
  input({"windowfocus", windowOf(widget), "key", keys});
}

void type(GtkWidget* widget, const std::string& text) {
  input({"windowfocus", windowOf(widget), "type", "--delay", "1", text});
}

GtkWidget* buttonSaying(GtkWidget* root, const std::string& text) {
  GtkWidget* label = labelSaying(root, text);
  return label == nullptr ? nullptr : gtk_widget_get_ancestor(label, GTK_TYPE_BUTTON);
}

GtkWidget* labelSaying(GtkWidget* root, const std::string& text) {
  return find(root, [&](GtkWidget* widget) { return isLabelSaying(widget, text); });
}

GtkWidget* switchIn(GtkWidget* root) {
  if (root == nullptr) return nullptr;
  return find(root, [](GtkWidget* widget) { return GTK_IS_SWITCH(widget) != FALSE; });
}

}  // namespace orvane::test
