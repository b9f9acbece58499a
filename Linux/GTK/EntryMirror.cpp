#include "Linux/GTK/EntryMirror.h"

#include <string_view>

#include <fmt/format.h>

#include "Linux/GTK/CSSColor.h"

namespace orvane {
namespace {

/// The part of an entry that shows the placeholder; null while it has none.
Gtk::Widget* placeholderOf(Gtk::Widget& widget) {
  for (auto* child = widget.get_first_child(); child != nullptr;
       child = child->get_next_sibling()) {
    if (child->get_css_name() == "placeholder") return child;
    if (auto* found = placeholderOf(*child)) return found;
  }
  return nullptr;
}

}  // namespace

EntryMirror::EntryMirror(NSTextField& view, Gtk::Entry& entry)
    : ViewMirror(view, entry), view_(view), entry_(entry) {
  entry.signal_changed().connect(sigc::mem_fun(*this, &EntryMirror::takeText));
  showContent();
}

void EntryMirror::showContent() {
  const Glib::ustring text = view_.stringValue();
  if (entry_.get_text().raw() != text.raw()) entry_.set_text(text);
  showPlaceholder();
}

void EntryMirror::showPlaceholder() {
  if (placeholder_ == view_.placeholderAttributedString()) return;
  placeholder_ = view_.placeholderAttributedString();
  entry_.set_placeholder_text(placeholder_->string);
  if (!placeholderStyle_) placeholderStyle_.emplace(*placeholderOf(entry_));
  placeholderStyle_->set(fmt::format("color: {}; opacity: 1; font-size: {}px;",
                                     cssColor(placeholder_->foregroundColor),
                                     placeholder_->labelFontSize));
}

void EntryMirror::takeText() { view_.setStringValue(entry_.get_text()); }

}  // namespace orvane
