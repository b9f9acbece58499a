#pragma once

#include <string>

#include "Platform/AppKit/NSView.h"

namespace orvane {

class NSButton : public NSView {
 public:
  const std::string& title() const { return title_; }
  void setTitle(std::string title) { change(title_, std::move(title)); }

  /// Whether it can be pressed.
  bool isEnabled() const { return isEnabled_; }
  void setEnabled(bool enabled) { change(isEnabled_, enabled); }

 private:
  std::string title_;
  bool isEnabled_ = true;
};

}  // namespace orvane
