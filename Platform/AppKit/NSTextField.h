#pragma once

#include <optional>
#include <string>

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Text in one colour, in the font of labels of that size, which is in points.
struct NSAttributedString {
  std::string string;
  NSColor foregroundColor;
  double labelFontSize = 0;

  friend bool operator==(const NSAttributedString&, const NSAttributedString&) = default;
};

/// A line of text.
class NSTextField : public NSView {
 public:
  const std::string& stringValue() const { return stringValue_; }
  void setStringValue(std::string value) { change(stringValue_, std::move(value)); }

  /// Shown in the place of an empty text.
  const std::optional<NSAttributedString>& placeholderAttributedString() const {
    return placeholder_;
  }
  void setPlaceholderAttributedString(NSAttributedString placeholder) {
    change(placeholder_, std::optional(std::move(placeholder)));
  }

 private:
  std::string stringValue_;
  std::optional<NSAttributedString> placeholder_;
};

}  // namespace orvane
