#pragma once

#include "Platform/AppKit/NSView.h"

namespace orvane {

/// Controls the content of the popover that opens from an extension's toolbar item. Main queue.
class SFSafariExtensionViewController {
 public:
  SFSafariExtensionViewController() = default;
  SFSafariExtensionViewController(const SFSafariExtensionViewController&) = delete;
  SFSafariExtensionViewController& operator=(const SFSafariExtensionViewController&) = delete;
  virtual ~SFSafariExtensionViewController() = default;

  /// The whole content. Its window is the popover's while that is open.
  virtual NSView& view() = 0;

  /// Called once, when the views have come out of the interface file.
  virtual void viewDidLoad() = 0;
  /// Called each time before the popover is shown, when the view has its window.
  virtual void viewWillAppear() = 0;
};

}  // namespace orvane
