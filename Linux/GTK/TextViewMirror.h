#pragma once

#include <gtkmm/textview.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSTextView.h"

namespace orvane {

/// Shows a text that the user can edit.
class TextViewMirror final : public ViewMirror {
 public:
  TextViewMirror(NSTextView& view, Gtk::TextView& textView);

 private:
  void showContent() override;
  void takeText();

  NSTextView& view_;
  Gtk::TextView& textView_;
};

}  // namespace orvane
