#pragma once

#include <string>

#include <gtk/gtk.h>

namespace orvane::test {

// A person's hands on the display of this process. Each returns when the display has been told;
// what comes of it takes a run of the main loop.

/// Clicks into the middle of a widget that is on the screen; false when it is not.
bool clickOn(GtkWidget* widget, int button = 1);
/// Moves the pointer to a point of a widget, in its own coordinates.
bool pointAt(GtkWidget* widget, double x, double y);
void pressButton(int button = 1);
/// Presses keys as xdotool names them, such as "ctrl+l", with the keyboard in the window of
/// `widget`.
void pressKeys(GtkWidget* widget, const std::string& keys);
void type(GtkWidget* widget, const std::string& text);

/// The first widget below `root` that can be seen, is such a button and says `text`; null when
/// there is none.
GtkWidget* buttonSaying(GtkWidget* root, const std::string& text);
/// The same for labels.
GtkWidget* labelSaying(GtkWidget* root, const std::string& text);

/// The first switch below `root`; null when there is none, or no root.
GtkWidget* switchIn(GtkWidget* root);

}  // namespace orvane::test
