#pragma once

#include <optional>

#include <gtkmm/entry.h>

#include "Linux/GTK/ViewMirror.h"
#include "Platform/AppKit/NSTextField.h"

namespace orvane {

/// Shows a line of text, which the user can edit, and its placeholder.
class EntryMirror final : public ViewMirror {
 public:
  EntryMirror(NSTextField& view, Gtk::Entry& entry);

 private:
  void showContent() override;
  void showPlaceholder();
  void takeText();

  NSTextField& view_;
  Gtk::Entry& entry_;
  std::optional<NSAttributedString> placeholder_;
  std::optional<WidgetStyle> placeholderStyle_;
};

}  // namespace orvane
