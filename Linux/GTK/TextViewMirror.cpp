#include "Linux/GTK/TextViewMirror.h"

#include <cmath>

namespace orvane {

TextViewMirror::TextViewMirror(NSTextView& view, Gtk::TextView& textView)
    : ViewMirror(view, textView), view_(view), textView_(textView) {
  textView.get_buffer()->signal_changed().connect(sigc::mem_fun(*this, &TextViewMirror::takeText));
  showContent();
}

void TextViewMirror::showContent() {
  const auto buffer = textView_.get_buffer();
  const Glib::ustring text = view_.string();
  if (buffer->get_text().raw() != text.raw()) buffer->set_text(text);
  const auto inset = view_.textContainerInset();
  const int sides = static_cast<int>(std::lround(inset.width));
  const int ends = static_cast<int>(std::lround(inset.height));
  textView_.set_left_margin(sides);
  textView_.set_right_margin(sides);
  textView_.set_top_margin(ends);
  textView_.set_bottom_margin(ends);
}

void TextViewMirror::takeText() { view_.setString(textView_.get_buffer()->get_text()); }

}  // namespace orvane
