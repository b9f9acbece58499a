#pragma once

#include <string>

#include "Platform/AppKit/NSGeometry.h"
#include "Platform/AppKit/NSScrollView.h"

namespace orvane {

/// Text of several lines that the user writes.
class NSTextView : public NSView {
 public:
  /// `enclosingScrollView` outlives the view.
  explicit NSTextView(NSScrollView& enclosingScrollView)
      : enclosingScrollView_(enclosingScrollView) {}

  NSScrollView& enclosingScrollView() const { return enclosingScrollView_; }

  const std::string& string() const { return string_; }
  void setString(std::string string) { change(string_, std::move(string)); }

  /// The space around the text, at the sides and above and below it.
  NSSize textContainerInset() const { return inset_; }
  void setTextContainerInset(NSSize inset) { change(inset_, inset); }

 private:
  NSScrollView& enclosingScrollView_;
  std::string string_;
  NSSize inset_;
};

}  // namespace orvane
