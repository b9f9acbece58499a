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
  if (buffer->get_text().raw() != view_.string()) {
    isShowing_ = true;
    buffer->set_text(view_.string());
    isShowing_ = false;
  }
  const auto inset = view_.textContainerInset();
  const int sides = static_cast<int>(std::lround(inset.width));
  const int ends = static_cast<int>(std::lround(inset.height));
  textView_.set_left_margin(sides);
  textView_.set_right_margin(sides);
  textView_.set_top_margin(ends);
  textView_.set_bottom_margin(ends);
}

// A widget changes its text in two steps, of which the first would reach the value.
void TextViewMirror::takeText() {
  if (!isShowing_) view_.setString(textView_.get_buffer()->get_text());
}

}  // namespace orvane
