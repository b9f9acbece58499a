#pragma once

#include <map>
#include <vector>

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Views one below the other. It does not own them.
class NSStackView : public NSView {
 public:
  const std::vector<NSView*>& arrangedSubviews() const { return arrangedSubviews_; }
  void addArrangedSubview(NSView& view) { arrangedSubviews_.push_back(&view); }

  /// The space behind that view, in points; absent where it is the stack's own.
  std::optional<double> customSpacingAfterView(const NSView& view) const {
    const auto found = customSpacing_.find(&view);
    return found == customSpacing_.end() ? std::nullopt : std::optional(found->second);
  }
  void setCustomSpacing(double spacing, const NSView& view) {
    auto changed = customSpacing_;
    changed[&view] = spacing;
    change(customSpacing_, std::move(changed));
  }

 private:
  std::vector<NSView*> arrangedSubviews_;
  std::map<const NSView*, double> customSpacing_;
};

}  // namespace orvane
