#pragma once

#include "Platform/AppKit/NSAlert.h"
#include "Platform/Foundation/NSProcessInfo.h"
#include "Platform/SafariServices/SFSafariApplication.h"

namespace orvane {

/// What an extension asks of the browser that it runs in, apart from what every process asks of its
/// machine. Owns nothing.
struct ExtensionHost {
  SFSafariApplication& application;
  RunAlertModal& runAlertModal;
  const NSProcessInfo& processInfo;
};

}  // namespace orvane
